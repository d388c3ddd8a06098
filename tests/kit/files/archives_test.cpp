#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Archives : public testing::FileManagerTest {
protected:
    Archives() {
        system.disk->addFile("/d/source", "content");
        scriptTool({});
    }

    void scriptTool(std::function<void(const platform::LaunchDescription&)> effect) {
        testing::FakeTool tool;
        tool.exitStatus = 1; // not looked at
        tool.effect = std::move(effect);
        addTool("/usr/bin/ditto", std::move(tool));
    }
    /// The tool makes what its last argument names.
    void makeToolWork() {
        scriptTool([this](const platform::LaunchDescription& launch) {
            system.disk->addFile(launch.arguments.back(), "new");
        });
    }
    std::vector<std::string> launched() { return system.journal->entries("process.launch"); }
};

TEST_F(Archives, AreMadeByTheSystemsTool) {
    makeToolWork();
    EXPECT_TRUE(QVFileManager::compressFile("/d/source", "/d/a.zip"));
    EXPECT_TRUE(QVFileManager::compressFile("/d/source", "/d/b.zip", IncludeParent::no));
    EXPECT_THAT(launched(),
                ElementsAre("process.launch /usr/bin/ditto [-ck, --keepParent, /d/source, "
                            "/d/a.zip] out=null err=null in=inherited",
                            "process.launch /usr/bin/ditto [-ck, /d/source, /d/b.zip] "
                            "out=null err=null in=inherited"));
}

TEST_F(Archives, ReplaceOldOnesWhichGoToTheTrash) {
    system.disk->addFile("/d/a.zip", "old");
    makeToolWork();
    EXPECT_TRUE(QVFileManager::compressFile("/d/source", "/d/a.zip"));
    EXPECT_EQ(system.disk->content("/d/a.zip"), "new");
    EXPECT_EQ(system.disk->content("/Users/anna/.Trash/a.zip"), "old");
}

TEST_F(Archives, AreThereOrNot) {
    EXPECT_FALSE(QVFileManager::compressFile("/d/source", "/d/a.zip"));
    EXPECT_FALSE(QVFileManager::compressFile(std::nullopt, "/d/a.zip"));
    EXPECT_FALSE(QVFileManager::compressFile("/d/source", std::nullopt));
    EXPECT_FALSE(QVFileManager::decompressFile("/d/a.zip", "/d/out"));
    EXPECT_FALSE(QVFileManager::decompressFile(std::nullopt, "/d/out"));
    EXPECT_FALSE(QVFileManager::decompressFile("/d/a.zip", std::nullopt));
}

TEST_F(Archives, AreUnpackedInPlaceOfTheOldFolder) {
    system.disk->addFile("/d/out/old");
    makeToolWork();
    EXPECT_TRUE(QVFileManager::decompressFile("/d/a.zip", "/d/out"));
    EXPECT_THAT(recycled(), ElementsAre("workspace.recycle /d [out] -> /Users/anna/.Trash"));
    EXPECT_THAT(launched(), ElementsAre("process.launch /usr/bin/ditto [-xk, /d/a.zip, /d/out] "
                                        "out=null err=null in=inherited"));
    EXPECT_TRUE(system.disk->contains("/Users/anna/.Trash/out/old"));
}

TEST_F(Archives, AreUnpackedEvenWhereTheOldFolderStays) {
    system.disk->addFolder("/d/out");
    failRecycling();
    EXPECT_TRUE(QVFileManager::decompressFile("/d/a.zip", "/d/out")); // it is there, after all
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
    EXPECT_EQ(launched().size(), 1U);
}

} // namespace
} // namespace quorvane
