// One line of a settings file.
//
// An entry is "name = " and the text of a value. A comment begins with '#' or ';'. A dead line is one whose first byte
// the store has overwritten with '=': its name is empty, so that every reader of the format rejects it. A line that
// holds a NUL is damage: what a power loss leaves where a file was growing. All other lines are rejected.
//
// A key's default is an entry too, under the key's name with "DEFAULT_" before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "value/text.h"
#include "value/value.h"

namespace zelva::format {

/// The first byte of a dead line.
inline constexpr char dead_mark = '=';

/// The two entries that a key can have.
enum class Slot : std::uint8_t { value, default_value };

/// Where a line is in a file, its line feed included. Offsets of 32 bits limit a file to 2 GiB.
struct Place {
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
};

/// An entry, or why a line is none.
enum class Kind : std::uint8_t { entry, blank, comment, dead, damaged, no_equals_sign, no_name, no_value };

/// What a line says. The name and the text of the value are parts of the line.
struct Entry {
    Kind kind = Kind::blank;
    std::size_t column = 0;  // where that which is wrong begins, in bytes from the line's first one; or the value
    std::string_view name;
    std::string_view value_text;
};

/// Reads a line, given without its line feed, into `entry`. Where the line is none, only its kind and column hold. The
/// value is not judged: mostly nobody asks for it. REQUIRES: it holds no NUL.
void read_line(std::string_view line, Entry& entry);

/// Judges the value of what looks like an entry: without a value it is none.
void judge(Entry& entry);

/// The text of a value in a line that begins with a name, or with what looks like one.
std::string_view value_text_in(std::string_view line);

/// The line of an entry, line feed included. REQUIRES: is_name(name), and the value is storable.
std::string line_of(std::string_view name, const value::Value& value);

/// What precedes the first '=' of a line, or of the beginning of one, without blanks: the name of an entry, dead or
/// not. Nothing where there is no '='.
std::optional<std::string_view> name_in(std::string_view line);

/// Tells a name from most others. A multiplication for each eight bytes, inline: the standard library's takes twice as
/// many instructions for a usual name.
inline std::uint32_t hash_of_name(std::string_view name) {
    const char* const bytes = name.data();
    const std::size_t size = name.size();
    const auto word_at = [bytes](std::size_t offset, auto word) {
        std::memcpy(&word, bytes + offset, sizeof word);
        return std::uint64_t{word};
    };
    std::uint64_t hash = size;
    const auto add = [&hash](std::uint64_t word) {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;  // 2^64 by the golden ratio: Fibonacci hashing
        hash ^= hash >> 32U;
    };
    if (size >= 8) {
        for (std::size_t i = 0; i + 8 < size; i += 8) {
            add(word_at(i, std::uint64_t{}));
        }
        add(word_at(size - 8, std::uint64_t{}));
    } else if (size >= 4) {
        add(word_at(0, std::uint32_t{}) << 32U | word_at(size - 4, std::uint32_t{}));
    } else if (size > 0) {
        add(word_at(0, std::uint8_t{}) << 16U | word_at(size / 2, std::uint8_t{}) << 8U |
            word_at(size - 1, std::uint8_t{}));
    }
    // The last bytes of a word have come to the highest bits of the product alone.
    return static_cast<std::uint32_t>(hash * 0x9E3779B97F4A7C15U >> 32U);
}

/// Whether an entry that is written under this name is read back under it: the name is not empty, holds no '=', no line
/// feed and no NUL, has no blanks at its ends, and does not begin like a comment.
bool is_name(std::string_view name);

inline constexpr std::string_view default_prefix = "DEFAULT_";

/// Whether a name is that of a default. Such names are reserved: they are no keys.
inline bool is_default_name(std::string_view name) {
    return value::begins_with(name, default_prefix);
}

/// The name of a key's entry.
std::string entry_name(std::string_view key, Slot slot);

/// The key and the slot that a name stands for.
struct KeyAndSlot {
    std::string_view key;
    Slot slot;
};
inline KeyAndSlot parse_name(std::string_view name) {
    return is_default_name(name) ? KeyAndSlot{name.substr(default_prefix.size()), Slot::default_value}
                                 : KeyAndSlot{name, Slot::value};
}

inline bool is_damaged(std::string_view line) {
    return line.find('\0') != std::string_view::npos;
}

}  // namespace zelva::format
