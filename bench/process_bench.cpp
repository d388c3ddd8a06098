// Running tools through QVTaskEx, against other ways of doing so: /bin/true from start to end, and
// 64 MiB of captured output; from a small program and from one that holds 2 GiB, where a fork would
// copy the page tables. Runs alternate between ours and a peer's, so that a busy machine slows
// both alike; figures are those of each way's faster quarter, which other programs disturb least.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include <QCoreApplication>

#include "bench/process_peers.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::bench {
namespace {

constexpr const char* kTrue = "/bin/true";
constexpr std::size_t kOutput = std::size_t{64} << 20U;
constexpr std::size_t kLargeParent = std::size_t{2} << 30U;
/// What cat and cp write at once.
constexpr std::size_t kWrite = std::size_t{128} << 10U;
const std::string kProduce = "--produce";

void launchWithKit(const std::string& tool) {
    if (QVTaskEx::terminationCodeFromTask(tool) != 0) throw std::runtime_error("The kit failed.");
}

std::size_t captureWithKit(const std::string& tool, const std::vector<std::string>& arguments) {
    return QVTaskEx::dataFromTask(tool, arguments, nullptr).value_or("").size();
}

/// This program as the tool that prints.
int produce() {
    const std::string block(kWrite, 'x');
    for (std::size_t left = kOutput; left > 0;) {
        const ssize_t count = ::write(STDOUT_FILENO, block.data(), std::min(left, block.size()));
        if (count <= 0) return 1;
        left -= static_cast<std::size_t>(count);
    }
    return 0;
}

/// Of a run after one of the same kind: what a fork leaves to be copied later is the forker's cost.
double seconds(const std::function<void()>& work) {
    work();
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The time that a quarter of the runs stayed below.
double lowerQuartile(std::vector<double>& times) {
    std::ranges::sort(times);
    return times[times.size() / 4];
}

struct Times {
    double our;
    double their;
};

/// In pairs: what one way leaves behind in the machine disturbs no third.
Times alternate(const std::function<void()>& ours, const std::function<void()>& theirs,
                int rounds) {
    std::vector<double> our;
    std::vector<double> their;
    for (int round = 0; round < rounds; ++round) {
        our.push_back(seconds(ours));
        their.push_back(seconds(theirs));
    }
    return {lowerQuartile(our), lowerQuartile(their)};
}

void measureLaunches(const char* parent, int rounds) {
    for (const LaunchPeer& peer : launchPeers()) {
        const Times times =
            alternate([] { launchWithKit(kTrue); }, [&] { peer.launch(kTrue); }, rounds);
        std::printf("figure launch-%s-parent-vs-%s: ours %.0f us, peer %s %.0f us, ratio %.2f "
                    "(aim <= %.2f)\n",
                    parent, peer.name, times.our * 1e6, peer.name, times.their * 1e6,
                    times.our / times.their, peer.aim);
    }
}

void captureAll(Capture capture, const std::string& self) {
    if (capture(self, {kProduce}) != kOutput) throw std::runtime_error("Output was lost.");
}

void measureCaptures(const char* parent, const std::string& self, int rounds) {
    const double gigabytes = static_cast<double>(kOutput) / 1e9;
    for (const CapturePeer& peer : capturePeers()) {
        const Times times = alternate([&] { captureAll(captureWithKit, self); },
                                      [&] { captureAll(peer.capture, self); }, rounds);
        std::printf("figure capture-%s-parent-vs-%s: ours %.2f GB/s, peer %s %.2f GB/s, ratio %.2f "
                    "(aim >= %.1f)\n",
                    parent, peer.name, gigabytes / times.our, peer.name, gigabytes / times.their,
                    times.their / times.our, peer.aim);
    }
}

} // namespace
} // namespace quorvane::bench

/// process_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane::bench;
    if (argc > 1 && argv[1] == kProduce) return produce();
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 25;
    const QCoreApplication application(argc, argv); // which QProcess wants
    const auto services = quorvane::platform::linux_::makeServices(
        std::make_shared<quorvane::platform::linux_::RunLoop>());
    quorvane::platform::installServices(&services);
    const std::string self = QCoreApplication::applicationFilePath().toStdString();

    measureLaunches("small", rounds * 8);
    measureCaptures("small", self, rounds / 2 + 1);
    const std::vector<char> held(kLargeParent, 'x');
    measureLaunches("large", rounds * 2);
    measureCaptures("large", self, rounds / 2 + 1);
}
