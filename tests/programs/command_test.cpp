#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "programs/options.h"
#include "programs/qvcopy/command.h"
#include "programs/qvhash/command.h"

namespace quorvane::programs {
namespace {

using platform::DigestAlgorithm;
using ::testing::ElementsAre;

/// What is wrong with the arguments; empty if nothing is.
template <class Parse>
std::string complaint(Parse parse, const Arguments& arguments) {
    try {
        (void)parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

TEST(CopyCommand, NamesSourcesAndADestination) {
    const qvcopy::Command command = qvcopy::parseCommand({"a", "b", "-", ""});
    EXPECT_EQ(command.verification, VerificationType::none);
    EXPECT_FALSE(command.replaces);
    EXPECT_FALSE(command.toFolders);
    EXPECT_THAT(command.sources, ElementsAre("a", "b", "-"));
    EXPECT_THAT(command.destinations, ElementsAre(""));
}

TEST(CopyCommand, NamesFoldersToCopyTo) {
    const qvcopy::Command command =
        qvcopy::parseCommand({"--to", "x", "a", "--to=y", "b", "--force"});
    EXPECT_TRUE(command.replaces);
    EXPECT_TRUE(command.toFolders);
    EXPECT_THAT(command.sources, ElementsAre("a", "b"));
    EXPECT_THAT(command.destinations, ElementsAre("x", "y"));
    EXPECT_THAT(qvcopy::parseCommand({"a", "--to", "x"}).sources, ElementsAre("a"));
}

TEST(CopyCommand, NamesAnAlgorithmAnywhere) {
    const auto verification = [](const Arguments& arguments) {
        return qvcopy::parseCommand(arguments).verification;
    };
    EXPECT_EQ(verification({"--verify", "md5", "a", "b"}), VerificationType::md5);
    EXPECT_EQ(verification({"--verify=sha1", "a", "b"}), VerificationType::sha1);
    EXPECT_EQ(verification({"a", "b", "--verify", "sha256"}), VerificationType::sha256);
    EXPECT_EQ(verification({"a", "--verify=md5", "b", "--verify=sha512"}),
              VerificationType::sha512);
}

TEST(CopyCommand, TakesEverythingForNamesBehindTwoDashes) {
    const qvcopy::Command command =
        qvcopy::parseCommand({"--", "--verify", "sha1", "--", "--help"});
    EXPECT_EQ(command.verification, VerificationType::none);
    EXPECT_THAT(command.sources, ElementsAre("--verify", "sha1", "--"));
    EXPECT_THAT(command.destinations, ElementsAre("--help"));
}

TEST(CopyCommand, SaysWhatIsWrong) {
    EXPECT_EQ(complaint(qvcopy::parseCommand, {}), "a source is missing");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"--verify", "md5"}), "a source is missing");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"a"}), "a destination is missing");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"--to", "a"}), "a source is missing");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"a", "--to"}), "--to needs a value");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"a", "b", "--force=yes"}), "--force takes no value");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"a", "b", "--verify"}), "--verify needs a value");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"--verify", "crc", "a", "b"}),
              "unknown algorithm crc");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"--verify=", "a", "b"}), "unknown algorithm ");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"-v", "a", "b"}), "unknown option -v");
    EXPECT_EQ(complaint(qvcopy::parseCommand, {"--help", "a", "b"}), "unknown option --help");
}

TEST(HashCommand, NamesFilesAndAnAlgorithm) {
    const auto algorithm = [](const Arguments& arguments) {
        return qvhash::parseCommand(arguments).algorithm;
    };
    EXPECT_EQ(algorithm({"a"}), DigestAlgorithm::sha256);
    EXPECT_EQ(algorithm({"--md5", "a"}), DigestAlgorithm::md5);
    EXPECT_EQ(algorithm({"a", "--sha1"}), DigestAlgorithm::sha1);
    EXPECT_EQ(algorithm({"--sha256", "a"}), DigestAlgorithm::sha256);
    EXPECT_EQ(algorithm({"-a", "sha512", "a"}), DigestAlgorithm::sha512);
    EXPECT_EQ(algorithm({"-a", "sha512", "--md5", "a"}), DigestAlgorithm::md5);
    EXPECT_THAT(qvhash::parseCommand({"a", "--md5", "b", "--", "--md5"}).files,
                ElementsAre("a", "b", "--md5"));
}

TEST(HashCommand, SaysWhatIsWrong) {
    EXPECT_EQ(complaint(qvhash::parseCommand, {}), "a file is missing");
    EXPECT_EQ(complaint(qvhash::parseCommand, {"--md5"}), "a file is missing");
    EXPECT_EQ(complaint(qvhash::parseCommand, {"-a"}), "-a needs a value");
    EXPECT_EQ(complaint(qvhash::parseCommand, {"-a", "MD5", "a"}), "unknown algorithm MD5");
    EXPECT_EQ(complaint(qvhash::parseCommand, {"--md5=a"}), "--md5 takes no value");
    EXPECT_EQ(complaint(qvhash::parseCommand, {"-c", "a"}), "unknown option -c");
}

} // namespace
} // namespace quorvane::programs
