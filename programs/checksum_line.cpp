#include "programs/checksum_line.h"

namespace quorvane::programs {

std::string checksumLine(std::string_view digest, std::string_view name) {
    if (name == "-") name = "./-"; // else the standard input, for programs that check lines
    std::string line = name.find_first_of("\\\n\r") == std::string_view::npos ? "" : "\\";
    line.append(digest).append("  ");
    for (const char each : name) {
        switch (each) {
        case '\\':
            line += "\\\\";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        default:
            line += each;
        }
    }
    return line + '\n';
}

} // namespace quorvane::programs
