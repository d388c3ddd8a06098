// Lines on their way to the log file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

/// Lines one behind the other, each as it will stand in the file: room for the date, the text, a
/// line break. So a run of lines is written as it is, in one piece.
struct LineBatch {
    /// Bytes of "2026-11-21 01:11:18 +0000 - ".
    static constexpr std::size_t kPrefixLength = 28;

    struct Line {
        std::size_t end;          ///< offset of the first byte behind the line
        std::uint64_t characters; ///< of the text
    };

    std::string bytes;
    std::vector<Line> lines;

    void append(std::string_view text, std::uint64_t characters) {
        bytes.append(kPrefixLength, ' ').append(text) += '\n';
        lines.push_back({bytes.size(), characters});
    }

    std::size_t start(std::size_t line) const { return line == 0 ? 0 : lines[line - 1].end; }

    std::string_view text(std::size_t line) const {
        const std::size_t from = start(line) + kPrefixLength;
        return std::string_view(bytes).substr(from, lines[line].end - 1 - from);
    }

    /// The lines from the first up to but without the last, as they will stand in the file.
    std::string_view run(std::size_t first, std::size_t last) const {
        return std::string_view(bytes).substr(start(first), start(last) - start(first));
    }

    std::uint64_t characters(std::size_t first, std::size_t last) const {
        std::uint64_t sum = 0;
        for (; first < last; ++first) sum += lines[first].characters;
        return sum;
    }
};

} // namespace quorvane
