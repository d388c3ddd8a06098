// Archives as people get them, by archivers of all kinds.
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"
#include "tests/platform/linux/tools/tree_listing.h"

namespace {

namespace fs = std::filesystem;
using namespace quorvane;
using quorvane::testing::contentOf;
using quorvane::testing::runPython;
using quorvane::testing::runTool;
using quorvane::testing::ToolRun;

/// `archive` writes to the first argument; `add(options)` puts the source, the second one, in.
constexpr const char* kPython = R"(
import io, os, stat, sys, warnings, zipfile
warnings.simplefilter('ignore')
path, source = sys.argv[1:]
class Pipe(io.RawIOBase):
    def __init__(self): self.file = open(path, 'wb')
    def writable(self): return True
    def write(self, data): return self.file.write(data)
    def seekable(self): return False
    def flush(self): self.file.flush()
def add(archive, method=zipfile.ZIP_DEFLATED, force_zip64=False):
    for folder, folders, files in os.walk(source):
        for name in folders + files:
            item = os.path.join(folder, name)
            entry = zipfile.ZipInfo.from_file(item, os.path.relpath(item, source))
            entry.compress_type = method if os.path.getsize(item) else zipfile.ZIP_STORED
            if os.path.islink(item):
                entry.external_attr = (stat.S_IFLNK | 0o777) << 16
                entry.compress_type = zipfile.ZIP_STORED
                archive.writestr(entry, os.readlink(item))
            elif os.path.isdir(item):
                archive.writestr(entry, b'')
            else:
                with archive.open(entry, 'w', force_zip64=force_zip64) as out:
                    out.write(open(item, 'rb').read())
    archive.close()
)";

class OtherArchivers : public ::testing::Test {
protected:
    OtherArchivers() {
        folder_.addFile("source/a folder/file", "content");
        folder_.addFile("source/gr\xc3\xb6\xc3\x9f"
                        "e",
                        std::string(700'000, 'x') + "end");
        folder_.addFile("source/empty");
        folder_.addFile("source/tool", "#!/bin/sh\n");
        // Stored as it is, it might look like the end of the archive.
        folder_.addFile("source/like an archive",
                        "PK\7\10" + std::string(18, '\0') + "PK\1\2PK\5\6" + std::string(18, '\0'));
        folder_.addFolder("source/empty folder");
        fs::create_symlink("a folder/file", folder_ / "source/link");
        EXPECT_EQ(chmod((source_ + "/tool").c_str(), 0755), 0);
    }

    void expectWhole(const Path& archive) {
        const Path target = folder_ / "target";
        const ToolRun run = runTool(QV_DITTO, {"-xk", archive, target});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.error, "");
        const ToolRun difference =
            runTool("/usr/bin/diff", {"-r", "--no-dereference", source_, target});
        EXPECT_EQ(difference.status, 0) << difference.output << difference.error;
        EXPECT_EQ(fs::status(target + "/tool").permissions(), fs::perms(0755));
        fs::remove_all(target);
    }
    /// Runs a line of the shell in the source folder, which makes the archive "$A".
    void expectWholeBy(const std::string& line) {
        SCOPED_TRACE(line);
        fs::remove(archive_);
        const ToolRun run = runTool(
            "/bin/sh", {"-ec", "export LC_ALL=C.UTF-8; A=$1; " + line, "sh", archive_}, source_);
        ASSERT_EQ(run.status, 0) << run.output << run.error;
        expectWhole(archive_);
    }
    void expectWholeByPython(const std::string& script) {
        SCOPED_TRACE(script);
        fs::remove(archive_);
        runPython(kPython + script, {archive_, source_});
        expectWhole(archive_);
    }

    const quorvane::testing::ScratchFolder folder_;
    const Path source_ = folder_.addFolder("source");
    const Path archive_ = folder_ / "a.zip";
};

TEST_F(OtherArchivers, AreTheToolItself) {
    expectWholeBy("'" QV_DITTO "' -ck . \"$A\"");
    expectWholeBy(QV_DITTO
                  " -ck . \"$A\"; printf 'in front' | cat - \"$A\" >\"$A+\"; mv \"$A+\" \"$A\"");
}

TEST_F(OtherArchivers, AreZip) {
    expectWholeBy("zip -qry \"$A\" .");
    expectWholeBy("zip -qry0 \"$A\" .");
    expectWholeBy("zip -qryX \"$A\" .");
    expectWholeBy("zip -qry -Z bzip2 \"$A\" .");
    expectWholeBy("zip -qry -fz \"$A\" ."); // 64-bit numbers throughout
    expectWholeBy("zip -qry - . >\"$A\"");
    expectWholeBy("printf 'a comment PK\\005\\006' | zip -qryz \"$A\" .");
    expectWholeBy("echo old >old; zip -qry \"$A\" .; rm old; zip -qd \"$A\" old");
    expectWholeBy("zip -qry \"$A\" .; cat /bin/true \"$A\" >\"$A+\"; mv \"$A+\" \"$A\"");
    expectWholeBy(
        "zip -qry \"$A\" .; cat /bin/true \"$A\" >\"$A+\"; mv \"$A+\" \"$A\"; zip -qA \"$A\"");
}

TEST_F(OtherArchivers, AreZipWritingToAPipe) {
    fs::remove(source_ + "/link"); // which it then cannot
    expectWholeBy("zip -qry - . | cat >\"$A\"");
}

TEST_F(OtherArchivers, AreZipReadingAPipe) {
    fs::remove_all(source_);
    folder_.addFile("source/-", "content");
    fs::permissions(source_ + "/-", fs::perms(0600));
    EXPECT_EQ(
        runTool("/bin/sh", {"-c", "printf content | zip -q - - | cat >\"$0\"", archive_}).status,
        0);
    EXPECT_EQ(runTool(QV_DITTO, {"-xk", archive_, folder_ / "target"}).status, 0);
    EXPECT_EQ(contentOf(folder_ / "target/-"), "content");
}

TEST_F(OtherArchivers, AreBsdtar) {
    expectWholeBy("bsdtar --format zip -cf \"$A\" *");
    expectWholeBy("bsdtar --format zip -cf \"$A\" .");
    expectWholeBy("bsdtar --format zip -cf - * | cat >\"$A\""); // padded with zeros
    expectWholeBy("bsdtar --format zip --options zip:zip64 -cf \"$A\" *");
    expectWholeBy("bsdtar --format zip --options zip:zip64 -cf - * | cat >\"$A\"");
    expectWholeBy("bsdtar --format zip --options zip:compression=store -cf \"$A\" *");
    expectWholeBy("bsdtar --format zip --options zip:compression=store -cf - * | cat >\"$A\"");
}

TEST_F(OtherArchivers, ArePython) {
    expectWholeByPython("add(zipfile.ZipFile(path, 'w'))");
    for (const char* method : {"STORED", "BZIP2", "LZMA"})
        expectWholeByPython(std::string("add(zipfile.ZipFile(path, 'w'), zipfile.ZIP_") + method +
                            ")");
    expectWholeByPython("add(zipfile.ZipFile(path, 'w'), force_zip64=True)");
    expectWholeByPython(
        "zipfile.ZIP64_LIMIT = 10; add(zipfile.ZipFile(path, 'w'), force_zip64=True)");
    expectWholeByPython("zipfile.ZIP_FILECOUNT_LIMIT = 0; add(zipfile.ZipFile(path, 'w'))");
    expectWholeByPython("add(zipfile.ZipFile(Pipe(), 'w'))");
    expectWholeByPython("add(zipfile.ZipFile(Pipe(), 'w'), zipfile.ZIP_STORED)");
    expectWholeByPython("add(zipfile.ZipFile(Pipe(), 'w'), force_zip64=True)");
    expectWholeByPython("open(path, 'wb').write(b'#!python\\n'); add(zipfile.ZipFile(path, 'a'))");
    expectWholeByPython(
        "archive = zipfile.ZipFile(path, 'w'); archive.comment = b'PK' * 30000; add(archive)");
}

TEST_F(OtherArchivers, CountMoreItemsThanTheNumberHolds) {
    // Names of the folder itself, for which there is nothing to do.
    constexpr const char* kMany = R"(
archive = zipfile.ZipFile(path, 'w')
for n in range(65537): archive.writestr('./', '')
add(archive)
)";
    expectWholeByPython(kMany);
    // Some archivers have the number overflow instead.
    constexpr const char* kOverflowing = R"(
zipfile.ZIP_FILECOUNT_LIMIT = 1000000
class Struct:
    calcsize, unpack = zipfile.struct.calcsize, zipfile.struct.unpack
    def pack(form, *values):
        if form != zipfile.structEndArchive: return pack(form, *values)
        return pack(form, *values[:3], values[3] & 0xffff, values[4] & 0xffff, *values[5:])
pack, zipfile.struct = zipfile.struct.pack, Struct
)";
    expectWholeByPython(std::string(kOverflowing) + kMany);
}

TEST_F(OtherArchivers, AreThoseOfEmptyArchives) {
    for (const char* make :
         {"zipfile.ZipFile(path, 'w').close()",
          "archive = zipfile.ZipFile(path, 'w'); archive.comment = b'none'; archive.close()",
          "zipfile.ZIP_FILECOUNT_LIMIT = -1; zipfile.ZipFile(path, 'w').close()"}) {
        SCOPED_TRACE(make);
        runPython(std::string(kPython) + make, {archive_, source_});
        const ToolRun run = runTool(QV_DITTO, {"-xk", archive_, folder_ / "target"});
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_TRUE(fs::is_empty(folder_ / "target"));
        fs::remove(folder_ / "target");
    }
}

} // namespace
