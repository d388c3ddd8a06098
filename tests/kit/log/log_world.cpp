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

std::vector<std::string> LogTest::messages(const Path& path) const {
    QVLog::finishWriting();
    return undated(disk->content(path));
}

} // namespace quorvane::testing
