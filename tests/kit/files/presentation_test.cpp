#include <algorithm>
#include <array>
#include <limits>

#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kTool = "/usr/bin/xattr";
constexpr const char* kAttribute = "com.apple.progress.fractionCompleted";
constexpr platform::FileTime kModified{std::chrono::seconds(1'000'000'000)};
constexpr const char* kAllSetAgain =
    "files.setAttributes /a immutable=no permissions=644 creationDate=";

class Presentation : public testing::FileManagerTest {
protected:
    Presentation() {
        addTool(kTool, {});
        system.disk->addFile("/a");
        system.disk->setPermissions("/a", 0644);
        system.disk->setModificationDate("/a", kModified);
        system.journal->clear();
    }

    std::vector<std::string> calls() { return system.journal->entries("presentation."); }
    std::vector<std::string> launches() { return system.journal->entries("process.launch"); }
    /// The value that is written for a fraction.
    std::string written(float fraction) {
        system.journal->clear();
        QVFileManager::setFinderProgress(fraction, "/a");
        const auto found = launches();
        const std::string before = std::string(kTool) + " [-w, " + kAttribute + ", ";
        if (found.size() != 1) return "no launch";
        const auto start = found[0].find(before);
        if (start == std::string::npos) return found[0];
        const auto value = start + before.size();
        return found[0].substr(value, found[0].find(", /a]") - value);
    }
    void failOnce(const std::string& operation) {
        system.disk->failNext(operation, "/a", {5, "Input/output error"});
    }
    std::int32_t notified() {
        const platform::FileReference reference = QVFileManager::stringToFSRef("/a");
        system.journal->clear();
        return SendFinderSyncEvent(&reference);
    }
};

const std::string kBuild = "presentation.build fndr fupd sign MACS -1 0 '----':alis(@@) /a";

TEST_F(Presentation, ChangesAreSentToTheFileManager) {
    QVFileManager::notifyFileSystemChanged("/a");
    EXPECT_THAT(calls(),
                ElementsAre("presentation.reference /a", "presentation.alias /a", kBuild,
                            "presentation.send fupd /a noReply -1", "presentation.dispose reply",
                            "presentation.dispose event /a", "presentation.dispose alias /a"));
    EXPECT_EQ(notified(), 0);
}

TEST_F(Presentation, WithoutAnAliasNothingIsSent) {
    failOnce("alias");
    EXPECT_EQ(notified(), 5);
    EXPECT_THAT(calls(), ElementsAre("presentation.alias /a"));
}

TEST_F(Presentation, WithoutAnEventTheAliasIsDisposedOf) {
    failOnce("build");
    EXPECT_EQ(notified(), 5);
    EXPECT_THAT(calls(),
                ElementsAre("presentation.alias /a", kBuild, "presentation.dispose alias /a"));
}

TEST_F(Presentation, AFailedSendingIsAnsweredAndAllIsDisposedOf) {
    failOnce("send");
    EXPECT_EQ(notified(), 5);
    EXPECT_THAT(calls(),
                ElementsAre("presentation.alias /a", kBuild, "presentation.send fupd /a noReply -1",
                            "presentation.dispose reply", "presentation.dispose event /a",
                            "presentation.dispose alias /a"));
}

TEST_F(Presentation, ChangesOfWhatIsNotThereStayQuiet) {
    QVFileManager::notifyFileSystemChanged("/missing");
    EXPECT_THAT(calls(), ElementsAre("presentation.reference /missing", "presentation.alias "));
    system.journal->clear();
    QVFileManager::notifyFileSystemChanged(std::nullopt);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(SendFinderSyncEvent(nullptr), 2);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Presentation, ReferencesGoThereAndBack) {
    const platform::FileReference reference = QVFileManager::stringToFSRef("/a");
    EXPECT_EQ(QVFileManager::stringWithFSRef(&reference), MaybePath("/a"));
    EXPECT_THAT(calls(), ElementsAre("presentation.reference /a", "presentation.path /a"));
}

TEST_F(Presentation, FailedReferencesLeadNowhere) {
    for (const MaybePath& path : {MaybePath("/missing"), MaybePath("")}) {
        const platform::FileReference reference = QVFileManager::stringToFSRef(path);
        EXPECT_EQ(reference.path, "");
        EXPECT_EQ(QVFileManager::stringWithFSRef(&reference), std::nullopt);
    }
    EXPECT_EQ(QVFileManager::stringToFSRef(std::nullopt).path, "");
    EXPECT_EQ(QVFileManager::stringWithFSRef(nullptr), std::nullopt);
}

TEST_F(Presentation, ProgressIsWrittenByTheToolBeforeTheDates) {
    QVFileManager::setFinderProgress(0.5F, "/a");
    const std::vector<std::string> lines = system.journal->entries();
    const auto launch = std::ranges::find_if(
        lines, [](const std::string& line) { return line.starts_with("process.launch"); });
    const auto dates = std::ranges::find(
        lines, kAllSetAgain + std::string("443779200 modificationDate=1000000000"));
    ASSERT_NE(launch, lines.end());
    ASSERT_NE(dates, lines.end());
    EXPECT_LT(launch, dates);
}

TEST_F(Presentation, FractionsHaveThreeDecimals) {
    EXPECT_EQ(written(0.0F), "0.000");
    EXPECT_EQ(written(1.0F), "1.000");
    EXPECT_EQ(written(0.4567F), "0.457");
    EXPECT_EQ(written(0.0004F), "0.000");
    EXPECT_EQ(written(0.9996F), "1.000");
    EXPECT_EQ(written(12.5F), "12.500");
    EXPECT_EQ(written(-0.0F), "-0.000");
    EXPECT_EQ(written(std::numeric_limits<float>::infinity()), "inf");
}

TEST_F(Presentation, RemovedProgressResetsTheCreationDate) {
    const std::string removal = std::string(kTool) + " [-d, " + kAttribute + ", /a]";
    for (const float fraction : {-1.0F, -0.001F, std::numeric_limits<float>::quiet_NaN()}) {
        system.journal->clear();
        QVFileManager::setFinderProgress(fraction, "/a");
        EXPECT_THAT(launches(), ElementsAre(::testing::HasSubstr(removal)));
        EXPECT_THAT(
            system.journal->entries("files."),
            ElementsAre(kAllSetAgain + std::string("1000000000 modificationDate=1000000000")));
    }
    system.journal->clear();
    QVFileManager::removeFinderProgressForFile("/a");
    EXPECT_THAT(launches(), ElementsAre(::testing::HasSubstr(removal)));
}

TEST_F(Presentation, FailuresOfProgressAreSilent) {
    addTool(kTool, {.exitStatus = 1});
    system.disk->failNext("setAttributes", "/a", {95, "Operation not supported"});
    QVFileManager::setFinderProgress(0.5F, "/a");
    QVFileManager::setFinderProgress(0.5F, "/missing");
    EXPECT_EQ(launches().size(), 2U);
    EXPECT_EQ(system.journal->entries("files.").size(), 1U);
    system.journal->clear();
    QVFileManager::setFinderProgress(0.5F, std::nullopt);
    QVFileManager::removeFinderProgressForFile(std::nullopt);
    EXPECT_THAT(system.journal->entries(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Presentation, LabelsGoThereAndBack) {
    EXPECT_EQ(QVFileManager::finderColorIndexForPath("/a"), 0);
    QVFileManager::setFinderColorIndex(6, "/a");
    EXPECT_EQ(QVFileManager::finderColorIndexForPath("/a"), 6);
    QVFileManager::setFinderColorIndex(8, "/a");
    QVFileManager::setFinderColorIndex(-1, "/a");
    EXPECT_EQ(QVFileManager::finderColorIndexForPath("/a"), 6);
    QVFileManager::setFinderColorIndex(0, "/a");
    EXPECT_EQ(QVFileManager::finderColorIndexForPath("/a"), 0);
    EXPECT_EQ(QVFileManager::finderColorIndexForPath("/missing"), 0);
}

TEST_F(Presentation, NullPathsHaveNoLabel) {
    QVFileManager::setFinderColorIndex(6, std::nullopt);
    EXPECT_EQ(QVFileManager::finderColorIndexForPath(std::nullopt), 0);
    EXPECT_EQ(QVFileManager::finderColorForPath(std::nullopt), std::nullopt);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Presentation, LabelsHaveTheirColors) {
    using Color = QVFileManager::Color;
    const std::array<Color, 7> colors = {{{0.0, 0.0, 0.72, 1.0},
                                          {0.2056, 0.5, 0.85, 1.0},
                                          {0.7917, 0.26, 0.86, 1.0},
                                          {0.5789, 0.56, 0.98, 1.0},
                                          {0.1388, 0.54, 0.95, 1.0},
                                          {0.0083, 0.54, 1.0, 1.0},
                                          {0.0888, 0.52, 0.98, 1.0}}};
    for (int label = 1; label <= 7; ++label) {
        const Color& color = colors.at(static_cast<std::size_t>(label) - 1);
        EXPECT_EQ(QVFileManager::finderColorForColorIndex(label), color) << label;
        QVFileManager::setFinderColorIndex(label, "/a");
        EXPECT_EQ(QVFileManager::finderColorForPath("/a"), color) << label;
    }
    for (const int label : {0, 8, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(QVFileManager::finderColorForColorIndex(label), std::nullopt) << label;
    QVFileManager::setFinderColorIndex(0, "/a");
    EXPECT_EQ(QVFileManager::finderColorForPath("/a"), std::nullopt);
}

TEST_F(Presentation, ApplicationsAreRegisteredWhateverWasThere) {
    platform::PropertyList info;
    info.value = platform::PropertyList::Dictionary{{"CFBundleIdentifier", {"com.quorvane.A"}}};
    system.propertyLists->files["/A.app/Contents/Info.plist"] = info;
    system.disk->addFolder("/A.app");
    EXPECT_TRUE(QVFileManager::registerApplicationWithLaunchServices("/A.app"));
    EXPECT_THAT(calls(), ElementsAre("presentation.register /A.app forced"));
    EXPECT_EQ(system.workspace->bundlePath("com.quorvane.A"), MaybePath("/A.app"));
}

TEST_F(Presentation, WhatCannotBeRegisteredAnswersFalse) {
    system.disk->addFolder("/B.app");
    EXPECT_FALSE(QVFileManager::registerApplicationWithLaunchServices("/B.app"));
    EXPECT_FALSE(QVFileManager::registerApplicationWithLaunchServices("/missing.app"));
    EXPECT_FALSE(QVFileManager::registerApplicationWithLaunchServices(std::nullopt));
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
} // namespace quorvane
