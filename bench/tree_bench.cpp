// The size and the emptiness of a tree of 100,000 files in 5,000 folders, against what else adds up
// and looks through trees. Rounds alternate, so that a busy machine slows all alike; figures are
// medians.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/files/QVFileManager.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 5'000;
constexpr int kFiles = 100'000;

class ScratchFolder {
public:
    ScratchFolder() : path_(fs::temp_directory_path() / "tree-bench-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) std::abort();
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// A hundred folders of folders each, with as many files in each.
template <class NameOf>
void addTree(const std::string& top, int folders, int filesEach, const NameOf& nameOf) {
    for (int folder = 0; folder < folders; ++folder) {
        const std::string path =
            top + "/group " + std::to_string(folder / 100) + "/folder " + std::to_string(folder);
        fs::create_directories(path);
        for (int file = 0; file < filesEach; ++file)
            std::ofstream(path + "/" + nameOf(file)) << "some content";
    }
}

using Work = std::function<void()>;

double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

struct Peer {
    const char* name;
    Work work;
    double aim;
};

void measure(const char* figure, const Work& ours, const std::vector<Peer>& peers, int rounds) {
    std::vector<double> our;
    std::vector<std::vector<double>> their(peers.size());
    for (int round = 0; round < rounds; ++round) {
        our.push_back(secondsOf(ours));
        for (std::size_t peer = 0; peer < peers.size(); ++peer)
            their[peer].push_back(secondsOf(peers[peer].work));
    }
    for (std::size_t peer = 0; peer < peers.size(); ++peer)
        std::printf("figure %s-vs-%s: ours %.1f ms, peer %s %.1f ms, ratio %.2f (aim <= %.2f)\n",
                    figure, peers[peer].name, median(our) * 1000, peers[peer].name,
                    median(their[peer]) * 1000, median(our) / median(their[peer]), peers[peer].aim);
}

void require(bool condition) {
    if (condition) return;
    std::fputs("tree_bench: a wrong answer\n", stderr);
    std::exit(1);
}

Work command(const std::string& line) {
    return [line] { require(std::system(line.c_str()) == 0); };
}

std::uintmax_t sizeByIterator(const std::string& top) {
    std::uintmax_t size = 0;
    for (const auto& entry : fs::recursive_directory_iterator(top))
        if (entry.is_regular_file()) size += entry.file_size();
    return size;
}

bool isEmptyByIterator(const std::string& top) {
    const auto matters = [](const fs::directory_entry& entry) {
        const std::string name = entry.path().filename();
        return name != ".DS_Store" && name != "Icon\r" && !entry.is_directory();
    };
    return std::ranges::none_of(fs::recursive_directory_iterator(top), matters);
}

std::string documentName(int file) { return "document " + std::to_string(file) + ".txt"; }

void measureSize(const std::string& top, int rounds) {
    addTree(top, kFolders, kFiles / kFolders, documentName);
    const std::uint64_t expected = kFiles * std::string_view("some content").size();
    measure(
        "tree-size", [&] { require(QVFileManager::fileSize(top) == expected); },
        {{"du", command("du -sb '" + top + "' >/dev/null"), 0.85},
         {"find", command("find '" + top + "' -type f -printf '%s\\n' >/dev/null"), 0.85},
         {"filesystem", [&] { require(sizeByIterator(top) == expected); }, 0.85}},
        rounds);
    const ScratchFolder tenth;
    addTree(tenth.path(), kFolders / 10, kFiles / kFolders, documentName);
    const Work sizesOfTenth = [&] {
        for (int time = 0; time < 10; ++time)
            require(QVFileManager::fileSize(tenth.path()) == expected / 10);
    };
    measure(
        "tree-size-growth", [&] { require(QVFileManager::fileSize(top) == expected); },
        {{"ten-times-a-tenth", sizesOfTenth, 1.2}}, rounds);
}

/// Nothing in it matters, so that all of it must be looked through.
void measureEmptiness(const std::string& top, int rounds) {
    addTree(top, 4 * kFolders, 2,
            [](int file) { return std::string(file == 0 ? ".DS_Store" : "Icon\r"); });
    measure(
        "tree-emptiness", [&] { require(QVFileManager::isFolderEmpty(top)); },
        {{"find",
          command("test -z \"$(find '" + top +
                  "' -type f ! -name .DS_Store ! -name 'Icon?' -print -quit)\""),
          0.8},
         {"filesystem", [&] { require(isEmptyByIterator(top)); }, 0.8}},
        rounds);
}

} // namespace
} // namespace quorvane::bench

/// tree_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    const platform::Services services =
        platform::linux_::makeServices(std::make_shared<platform::linux_::RunLoop>());
    platform::installServices(&services);
    {
        const bench::ScratchFolder scratch;
        bench::measureSize(scratch.path(), rounds);
    }
    const bench::ScratchFolder scratch;
    bench::measureEmptiness(scratch.path(), rounds);
}
