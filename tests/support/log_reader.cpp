#include "tests/support/log_reader.h"

#include <iostream>
#include <sstream>

#include <gtest/gtest.h>

#include "kit/log/QVLog.h"

namespace quorvane::testing {
namespace {

const Path kCurrentLog = "/Users/anna/Library/Logs/Quorvane/Fake Tool.1.log";

} // namespace

LogReader::LogReader(FakePlatform& system) : system_(system) {
    system_.disk->addFile(kCurrentLog);
    ::testing::internal::CaptureStdout();
}

LogReader::~LogReader() {
    QVLog::finishWriting();
    const std::string text = ::testing::internal::GetCapturedStdout();
    if (::testing::Test::HasFailure()) std::cout << text; // what failed is told there too
}

std::vector<std::string> LogReader::messages() {
    QVLog::finishWriting();
    std::vector<std::string> found;
    std::istringstream lines(system_.disk->content(kCurrentLog));
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.substr(line.find(" - ") + 3));
    return found;
}

std::string LogReader::printed() {
    std::string text = ::testing::internal::GetCapturedStdout();
    ::testing::internal::CaptureStdout();
    return text;
}

} // namespace quorvane::testing
