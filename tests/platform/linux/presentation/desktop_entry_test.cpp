#include "platform/linux/presentation/desktop_entry.h"

#include <gtest/gtest.h>

namespace quorvane::platform::linux_ {
namespace {

TEST(DesktopEntry, StringsKeepTheirLine) {
    EXPECT_EQ(entryString("Plain Text"), "Plain Text");
    EXPECT_EQ(entryString("a\nb\tc\rd\\e"), "a\\nb\\tc\\rd\\\\e");
    EXPECT_EQ(entryString("  a b "), "\\s\\sa b\\s");
    EXPECT_EQ(entryString("   "), "\\s\\s\\s");
    EXPECT_EQ(entryString(""), "");
    EXPECT_EQ(entryString("\xC3\xA9;="), "\xC3\xA9;=");
}

TEST(DesktopEntry, CommandsAreOneProgram) {
    EXPECT_EQ(entryCommand("/usr/bin/a"), R"("/usr/bin/a")");
    EXPECT_EQ(entryCommand("/a b"), R"("/a b")");
    EXPECT_EQ(entryCommand("/100%f"), R"("/100%%f")");
    // Once for the quotes, once for the string.
    EXPECT_EQ(entryCommand(R"(/"`$\)"), R"("/\\"\\`\\$\\\\")");
    EXPECT_EQ(entryCommand("/a\nb"), R"("/a\nb")");
}

TEST(DesktopEntry, ValuesAreReadFromTheMainGroup) {
    const std::string_view entry = "# A=comment\n[Other]\nA=other\n[Desktop Entry]\nAB=no\n"
                                   "A = \\sa\\\\\\x \nB=\n[Desktop Action x]\nC=action\nA=again\n";
    EXPECT_EQ(entryValue(entry, "A"), " a\\\\x ");
    EXPECT_EQ(entryValue(entry, "B"), "");
    EXPECT_EQ(entryValue(entry, "C"), std::nullopt);
    EXPECT_EQ(entryValue("A=outside", "A"), std::nullopt);
    EXPECT_EQ(entryValue("[Desktop Entry]\nA=\\", "A"), "\\");
    EXPECT_EQ(entryValue("[Desktop Entry]\nA", "A"), std::nullopt);
    EXPECT_EQ(entryValue("", "A"), std::nullopt);
}

TEST(DesktopEntry, WhatIsWrittenIsReadBack) {
    for (const std::string text : {" a", "a ", "\n", "\\n", "\\", "a\tb\\s", "=", "[x]", "\r"})
        EXPECT_EQ(entryValue("[Desktop Entry]\nA=" + entryString(text) + "\n", "A"), text);
}

} // namespace
} // namespace quorvane::platform::linux_
