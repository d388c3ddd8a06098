// What the benchmarks of the file layer share.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <system_error>
#include <vector>

namespace quorvane::bench {

/// A folder of its own below another, gone with all below it at the end.
class ScratchFolder {
public:
    explicit ScratchFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path())
        : path_(parent / "quorvane-bench-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) std::abort();
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

using Work = std::function<void()>;
/// A run of something, which answers how many seconds it took.
using Run = std::function<double()>;

inline double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline Run timed(Work work) {
    return [work = std::move(work)] { return secondsOf(work); };
}

/// Ends the benchmark when it does not do what it is to measure.
inline void require(bool condition) {
    if (condition) return;
    std::fputs("bench: a wrong answer\n", stderr);
    std::exit(1);
}

inline Work command(const std::string& line) {
    return [line] { require(std::system(line.c_str()) == 0); };
}

/// The mean of the faster quarter, at least of one: the runs that other programs disturb least.
inline double fasterQuarter(std::vector<double> seconds) {
    std::ranges::sort(seconds);
    seconds.resize((seconds.size() + 3) / 4);
    return std::accumulate(seconds.begin(), seconds.end(), 0.0) /
           static_cast<double>(seconds.size());
}

struct Peer {
    const char* name;
    Run run;
    double aim; ///< the ratio of our time to the peer's that is asked of us
};

/// Prints a figure for each peer. Runs alternate, so that a busy machine slows all alike.
inline void measure(const std::string& figure, const Run& ours, const std::vector<Peer>& peers,
                    int rounds) {
    std::vector<double> our;
    std::vector<std::vector<double>> their(peers.size());
    for (int round = 0; round < rounds; ++round) {
        our.push_back(ours());
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            their[peer].push_back(peers[peer].run());
    }
    const double time = fasterQuarter(our);
    for (std::size_t peer = 0; peer < peers.size(); ++peer) {
        const double peerTime = fasterQuarter(their[peer]);
        std::printf("figure %s-vs-%s: ours %.1f ms, peer %s %.1f ms, ratio %.2f (aim <= %.2f)\n",
                    figure.c_str(), peers[peer].name, time * 1000, peers[peer].name,
                    peerTime * 1000, time / peerTime, peers[peer].aim);
    }
    std::fflush(stdout);
}

} // namespace quorvane::bench
