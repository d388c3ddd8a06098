#include "tests/kit/log/log_world.h"

#include <regex>
#include <sstream>

namespace quorvane::testing {

std::vector<std::string> undated(const std::string& content) {
    static const std::regex dated(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000 - )");
    std::vector<std::string> found;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        const bool whole = !lines.eof() && std::regex_search(line, match, dated);
        found.push_back(whole ? match.suffix().str() : "BROKEN: " + line);
    }
    return found;
}

LogTest::LogTest() {
    services.application = application;
    services.exceptions = exceptions;
    services.makeFileManager = fakeFileManagerMaker(disk, journal);
    services.propertyLists = propertyLists;
    services.standardDirectories = std::make_shared<FakeDirectories>(*identity);
    services.systemInfo = system;
    services.userIdentity = identity;
    before_ = platform::installServices(&services);
    disk->addFolder("/Users/anna/Library");
}

LogTest::~LogTest() {
    QVLog::finishWriting();
    log().setFileHandle(nullptr);
    platform::installServices(before_);
}

std::vector<std::string> LogTest::messages(const Path& path) const {
    QVLog::finishWriting();
    return undated(disk->content(path));
}

} // namespace quorvane::testing
