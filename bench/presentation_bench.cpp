// Looking an application up by its identifier among 1,000 that are registered, against the
// desktop's own library, and searching 1,000 that are not, against grep. Rounds alternate, so that
// a busy machine slows all alike; figures are medians.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gio/gdesktopappinfo.h>

#include "platform/linux/bundles.h"
#include "platform/linux/presentation/application_registry.h"
#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/workspace.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::bench {
namespace {

namespace fs = std::filesystem;
using Work = std::function<void()>;

constexpr int kBundles = 1'000;

void require(bool condition) {
    if (condition) return;
    std::fputs("presentation_bench: a wrong answer\n", stderr);
    std::exit(1);
}

class ScratchFolder {
public:
    ScratchFolder() : path_(fs::temp_directory_path() / "presentation-bench-XXXXXX") {
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

std::string identifierOf(int number) { return "com.quorvane.tool" + std::to_string(number); }

Path addBundle(const Path& folder, int number) {
    Path bundle = folder + "/Tool " + std::to_string(number) + ".app";
    fs::create_directories(bundle + "/Contents/MacOS");
    std::ofstream(bundle + "/Contents/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>CFBundleIdentifier</key><string>"
        << identifierOf(number)
        << "</string><key>CFBundleExecutable</key><string>tool</string></dict></plist>";
    const Path program = bundle + "/Contents/MacOS/tool";
    std::ofstream(program) << "#!/bin/sh\n";
    fs::permissions(program, fs::perms(0755));
    return bundle;
}

double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// Times are of one of so many uses in the work.
void measure(const char* figure, const Work& ours, const char* peer, const Work& theirs, int uses,
             double aim, int rounds) {
    std::vector<double> our;
    std::vector<double> their;
    for (int round = 0; round < rounds; ++round) {
        our.push_back(secondsOf(ours));
        their.push_back(secondsOf(theirs));
    }
    std::printf("figure %s-vs-%s: ours %.4f ms, peer %s %.4f ms, ratio %.2f (aim <= %.2f)\n",
                figure, peer, median(our) * 1000 / uses, peer, median(their) * 1000 / uses,
                median(our) / median(their), aim);
}

void measureRegistered(platform::Workspace& workspace, int rounds) {
    measure(
        "look-up-registered",
        [&] {
            for (int number = 0; number < kBundles; ++number)
                require(workspace.bundlePath(identifierOf(number)).has_value());
        },
        "gio",
        [] {
            for (int number = 0; number < kBundles; ++number) {
                GDesktopAppInfo* found =
                    g_desktop_app_info_new((identifierOf(number) + ".desktop").c_str());
                require(found != nullptr);
                g_object_unref(found);
            }
        },
        kBundles, 0.5, rounds);
}

void measureUnregistered(const Path& applications, platform::PropertyLists& lists, int rounds) {
    // The last in the order of names, so that all are looked at.
    const std::string identifier = identifierOf(kBundles - 1);
    const std::string search =
        "grep -rlF --include=Info.plist '>" + identifier + "<' '" + applications + "' >/dev/null";
    const auto isOffered = [](const Path&) { return true; };
    measure(
        "look-up-unregistered",
        [&] {
            require(platform::linux_::findBundle(applications, identifier, lists, isOffered)
                        .has_value());
        },
        "grep", [&] { require(std::system(search.c_str()) == 0); }, 1, 0.5, rounds);
}

} // namespace
} // namespace quorvane::bench

/// presentation_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    const bench::ScratchFolder scratch;
    const Path data = scratch.path() + "/data";
    setenv("XDG_DATA_HOME", data.c_str(), 1);
    const auto identity = std::make_shared<testing::StubIdentity>();
    identity->home = scratch.path();
    const auto lists = std::make_shared<platform::linux_::LinuxPropertyLists>();
    platform::linux_::LinuxWorkspace workspace(identity, lists,
                                               std::make_shared<platform::linux_::ChangeNotices>());
    const Path applications = scratch.path() + "/Applications";
    for (int number = 0; number < bench::kBundles; ++number) {
        const Path bundle = bench::addBundle(applications, number);
        bench::require(platform::linux_::registerBundle(bundle, data + "/applications",
                                                        platform::ForceUpdate::yes, *lists)
                           .ok());
    }
    bench::measureRegistered(workspace, rounds);
    bench::measureUnregistered(applications, *lists, rounds);
}
