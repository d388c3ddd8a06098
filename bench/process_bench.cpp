// Running tools through QVTaskEx, against other ways of doing so: /bin/true from start to end, and
// 64 MiB of captured output; from a small program and from one that holds 2 GiB, where a fork would
// copy the page tables. Runs alternate between the ways, so that a busy machine slows all of them
// alike; figures are medians.
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

double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void measureLaunches(const char* parent, int rounds) {
    const auto& peers = launchPeers();
    std::vector<double> ours;
    std::vector<std::vector<double>> theirs(peers.size());
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(seconds([] { launchWithKit(kTrue); }));
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            theirs[peer].push_back(seconds([&] { peers[peer].launch(kTrue); }));
    }
    const double our = median(ours) * 1e6;
    for (std::size_t peer = 0; peer < peers.size(); ++peer) {
        const double their = median(theirs[peer]) * 1e6;
        std::printf("figure launch-%s-parent-vs-%s: ours %.0f us, peer %s %.0f us, ratio %.2f "
                    "(aim <= %.2f)\n",
                    parent, peers[peer].name, our, peers[peer].name, their, our / their,
                    peers[peer].aim);
    }
}

double capturedPerSecond(Capture capture, const std::string& self) {
    std::size_t size = 0;
    const double taken = seconds([&] { size = capture(self, {kProduce}); });
    if (size != kOutput) throw std::runtime_error("Output was lost.");
    return static_cast<double>(kOutput) / taken / 1e9;
}

void measureCaptures(const char* parent, const std::string& self, int rounds) {
    const auto& peers = capturePeers();
    std::vector<double> ours;
    std::vector<std::vector<double>> theirs(peers.size());
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(capturedPerSecond(captureWithKit, self));
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            theirs[peer].push_back(capturedPerSecond(peers[peer].capture, self));
    }
    const double our = median(ours);
    for (std::size_t peer = 0; peer < peers.size(); ++peer) {
        const double their = median(theirs[peer]);
        std::printf("figure capture-%s-parent-vs-%s: ours %.2f GB/s, peer %s %.2f GB/s, ratio %.2f "
                    "(aim >= %.1f)\n",
                    parent, peers[peer].name, our, peers[peer].name, their, our / their,
                    peers[peer].aim);
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
    measureCaptures("small", self, rounds);
    const std::vector<char> held(kLargeParent, 'x');
    measureLaunches("large", rounds);
    measureCaptures("large", self, rounds / 2 + 1);
}
