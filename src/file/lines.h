// The lines of a file's text, and which of them are dead.
#pragma once

#include <algorithm>
#include <string_view>

#include "file/layout.h"

namespace zelva::file {

/// So many blank lines in a row a compaction keeps. A person's lines of one byte each, with so many between them, are
/// not worth another one.
inline constexpr std::size_t most_blanks = 2;

/// Calls `use` with each line of a text, without its line feed, and with where it is.
template <class Use>
void for_each_line(std::string_view text, Use&& use) {
    for (std::size_t offset = 0; offset < text.size();) {
        // Padding has many empty lines.
        const std::size_t end = text[offset] == '\n' ? offset : std::min(text.find('\n', offset), text.size());
        const std::size_t next = std::min(end + 1, text.size());
        use(text.substr(offset, end - offset),
            Line{static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(next - offset)});
        offset = next;
    }
}

inline bool is_damage(std::string_view line) {
    return line.find('\0') != std::string_view::npos;
}

inline bool is_withdrawn(std::string_view line) {
    return !line.empty() && line[0] == withdrawn_mark && !is_damage(line);
}

}  // namespace zelva::file
