#include "app/name_predicate.h"

#include <gtest/gtest.h>

#include "app/Catalogue.h"

namespace brightkeel {
namespace {

TEST(NamePredicate, OfTheSupportFolders) {
    const std::string_view text = catalogue::kSupportFolder.predicate;
    EXPECT_TRUE(nameMatches("Settings Keeper.app", text));
    EXPECT_FALSE(nameMatches("Old (Disabled)", text));
    EXPECT_FALSE(nameMatches("reDISABLEDx", text));
    EXPECT_FALSE(nameMatches(".DS_Store", text));
    EXPECT_TRUE(nameMatches("Disable", text));
    EXPECT_TRUE(nameMatches("", text));
}

TEST(NamePredicate, OfTheScheduledTasks) {
    const std::string_view text = catalogue::kScheduledTasks.predicate;
    EXPECT_TRUE(nameMatches("com.quorvane.ScheduledTask.7.PLIST", text));
    EXPECT_TRUE(nameMatches("COM.QUORVANE.scheduledtask.plist", text));
    EXPECT_FALSE(nameMatches("com.quorvane.ScheduledTask7.plist.bak", text));
    EXPECT_FALSE(nameMatches("xcom.quorvane.ScheduledTask7.plist", text));
    EXPECT_FALSE(nameMatches(".plist", text));
}

TEST(NamePredicate, OfTheReceipts) {
    const std::string_view text = catalogue::kOldReceipts.predicate;
    EXPECT_TRUE(nameMatches("brightkeel.pkg", text));
    EXPECT_TRUE(nameMatches("INSTALL Brightkeel 3.pkg", text));
    EXPECT_FALSE(nameMatches("Uninstall Brightkeel.pkg", text));
}

TEST(NamePredicate, BindsNotBeforeAndBeforeOr) {
    constexpr std::string_view text =
        "SELF CONTAINS[c] 'a' OR NOT SELF CONTAINS[c] 'b' AND SELF CONTAINS[c] 'c'";
    EXPECT_TRUE(nameMatches("a", text));
    EXPECT_TRUE(nameMatches("c", text));
    EXPECT_FALSE(nameMatches("bc", text));
    EXPECT_TRUE(nameMatches("abc", text));
    EXPECT_FALSE(nameMatches("", text));
}

TEST(NamePredicate, MalformedTextsMatchNothing) {
    for (const std::string_view text :
         {"", "SELF", "NOT ", "SELF LIKE 'a'", "SELF CONTAINS[c] 'a", "SELF CONTAINS[c] 'a' AND ",
          "SELF CONTAINS[c] 'a' XOR SELF CONTAINS[c] 'a'", "SELF CONTAINS[c] a"})
        EXPECT_FALSE(nameMatches("a", text)) << text;
}

} // namespace
} // namespace brightkeel
