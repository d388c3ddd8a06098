// The size and the emptiness of a tree of 100,000 files in 5,000 folders, against what else adds up
// and looks through trees.
#include <fstream>
#include <string_view>

#include "bench/measure.h"
#include "kit/files/QVFileManager.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 5'000;
constexpr int kFiles = 100'000;

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
        "tree-size", timed([&] { require(QVFileManager::fileSize(top) == expected); }),
        {{"du", timed(command("du -sb '" + top + "' >/dev/null")), 0.85},
         {"find", timed(command("find '" + top + "' -type f -printf '%s\\n' >/dev/null")), 0.85},
         {"filesystem", timed([&] { require(sizeByIterator(top) == expected); }), 0.85}},
        rounds);
    const ScratchFolder tenth;
    addTree(tenth.path(), kFolders / 10, kFiles / kFolders, documentName);
    const Work sizesOfTenth = [&] {
        for (int time = 0; time < 10; ++time)
            require(QVFileManager::fileSize(tenth.path()) == expected / 10);
    };
    measure("tree-size-growth", timed([&] { require(QVFileManager::fileSize(top) == expected); }),
            {{"ten-times-a-tenth", timed(sizesOfTenth), 1.2}}, rounds);
}

/// Nothing in it matters, so that all of it must be looked through.
void measureEmptiness(const std::string& top, int rounds) {
    addTree(top, 4 * kFolders, 2,
            [](int file) { return std::string(file == 0 ? ".DS_Store" : "Icon\r"); });
    measure("tree-emptiness", timed([&] { require(QVFileManager::isFolderEmpty(top)); }),
            {{"find",
              timed(command("test -z \"$(find '" + top +
                            "' -type f ! -name .DS_Store ! -name 'Icon?' -print -quit)\"")),
              0.8},
             {"filesystem", timed([&] { require(isEmptyByIterator(top)); }), 0.8}},
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
