// A million lines through the log, with its rotation, against other logs: lines per second until
// all of them are in the file. Rounds alternate between the logs, so that a busy machine slows all
// of them alike; figures are medians.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/log_peers.h"
#include "kit/log/QVLog.h"
#include "kit/log/log_file.h"
#include "platform/linux/file_manager.h"
#include "platform/linux/property_lists.h"
#include "tests/support/fake_platform.h"

namespace quorvane::bench {
namespace {

constexpr long kLines = 1'000'000;

/// A folder that goes again with all below it.
class ScratchFolder {
public:
    ScratchFolder() : path_(std::filesystem::temp_directory_path() / "log-bench-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("No scratch folder.");
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// The kit's log, on the real file system below the folder.
class KitLog : public Log {
public:
    explicit KitLog(const std::string& folder) {
        system_.services.makeFileManager = platform::linux_::makeFileManager;
        system_.services.propertyLists = std::make_shared<platform::linux_::LinuxPropertyLists>();
        system_.identity->home = folder;
        std::filesystem::create_directory(folder + "/Library");
        QVLog::createNewLog();
        QVLog::finishWriting();
    }

    void append(int thread, long number) override {
        QVLog::fastAppendLog("Worker %i has moved item number %li of its list to the Trash", thread,
                             number);
    }

    void finish() override { QVLog::finishWriting(); }

private:
    testing::FakePlatform system_;
};

/// Million lines per second.
double run(const LogMaker& makeLog, int threads) {
    const ScratchFolder folder;
    const std::unique_ptr<Log> log = makeLog(folder.path());
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> workers;
    workers.reserve(static_cast<std::size_t>(threads));
    for (int thread = 0; thread < threads; ++thread)
        workers.emplace_back([&log, thread, threads] {
            for (long number = 0; number < kLines / threads; ++number) log->append(thread, number);
        });
    for (std::thread& worker : workers) worker.join();
    log->finish();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    return kLines / taken.count() / 1e6;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

struct Peer {
    const char* name;
    LogMaker make;
    double aimWithOneThread;
    double aimWithManyThreads;
};

void measure(const std::vector<Peer>& peers, int threads, int rounds) {
    const LogMaker makeKitLog = [](const std::string& folder) {
        return std::make_unique<KitLog>(folder);
    };
    std::vector<double> ours;
    std::map<std::string, std::vector<double>> theirs;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(run(makeKitLog, threads));
        for (const Peer& peer : peers) theirs[peer.name].push_back(run(peer.make, threads));
    }
    for (const Peer& peer : peers) {
        const double our = median(ours);
        const double their = median(theirs[peer.name]);
        std::printf("figure log-%d-thread%s-vs-%s: ours %.2f Mlines/s, peer %s %.2f Mlines/s, "
                    "ratio %.2f (aim >= %.1f)\n",
                    threads, threads == 1 ? "" : "s", peer.name, our, peer.name, their, our / their,
                    threads == 1 ? peer.aimWithOneThread : peer.aimWithManyThreads);
    }
}

} // namespace
} // namespace quorvane::bench

/// log_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane::bench;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    const std::vector<Peer> peers = {{"spdlog-async", makeSpdlogAsync, 1.8, 5.0},
                                     {"spdlog-sync", makeSpdlogSync, 1.0, 1.4},
                                     {"write-per-line", makeWritePerLine, 1.0, 1.0}};
    measure(peers, 1, rounds);
    measure(peers, 8, rounds);
}
