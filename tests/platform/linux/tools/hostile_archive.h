// Archives of the test's own making, unpacked where it shows what they did.
#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"
#include "tests/platform/linux/tools/tree_listing.h"

namespace quorvane::testing {

/// `add(name, content, mode)` puts an entry of any kind under any name into the archive, whose path
/// is the first argument; the second is a folder outside.
inline constexpr const char* kArchivePrelude = R"(
import stat, sys, warnings, zipfile
warnings.simplefilter('ignore')
archive = zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED)
outside = sys.argv[2]
FILE, FOLDER, LINK = stat.S_IFREG | 0o644, stat.S_IFDIR | 0o755, stat.S_IFLNK | 0o777
def add(name, content='evil', mode=FILE):
    entry = zipfile.ZipInfo('name', (2001, 9, 9, 1, 46, 40))
    entry.filename = name
    entry.create_system = 3
    entry.external_attr = mode << 16
    archive.writestr(entry, content)
)";

class HostileArchive : public ::testing::Test {
protected:
    void make(const std::string& script) {
        runPython(kArchivePrelude + script + "\narchive.close()", {archive_, outside_});
    }
    ToolRun unpackInto(const Path& target) { return runTool(QV_DITTO, {"-xk", archive_, target}); }
    /// What is refused appears nowhere, and neither does the new folder.
    void expectRefusal(const ::testing::Matcher<std::string>& error) {
        const ToolRun run = unpackInto(folder_ / "new");
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.error, error);
        EXPECT_THAT(namesIn(folder_.path()), ::testing::ElementsAre("a.zip", "outside", "there"));
        EXPECT_THAT(namesIn(outside_), ::testing::IsEmpty());
    }

    const ScratchFolder folder_;
    const Path outside_ = folder_.addFolder("outside");
    const Path there_ = folder_.addFolder("there");
    const Path archive_ = folder_ / "a.zip";
};

} // namespace quorvane::testing
