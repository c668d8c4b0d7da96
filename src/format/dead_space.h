// Room in a settings file that cannot grow.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zelva::format {

/// A line that fits into dead ones: where it begins and what to write there, all within one sector. What is left of
/// those lines stays dead.
struct Patch {
    std::size_t offset = 0;       // of `bytes`
    std::string bytes;            // of which the line is a part
    std::size_t line_offset = 0;  // of the line in the file
};
std::optional<Patch> find_dead_space(std::string_view file, std::string_view line);

/// Where the last line ends that is neither dead nor blank nor damaged.
std::size_t live_end(std::string_view file);

}  // namespace zelva::format
