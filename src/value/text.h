// The text of a value: a tag of one or two letters that tells its type, and what follows the tag.
//
//   S   STRING          the rest of the line, as it stands
//   J   JSON            a JSON text, blanks around it allowed; written in its canonical form
//   I   INT             a decimal integer; what follows its digits is ignored
//   B   BOOL            TRUE, FALSE, 1 or 0, blanks around it allowed, and nothing else
//   D   DOUBLE          a decimal number; what cannot continue it is ignored
//   AS AI AB AD         elements of S, I, B or D separated by commas, blanks around each allowed; nothing at all is
//                       the empty array. In AS a comma inside an element is written "\,".
//
// A blank is a space or a tab. That numbers allow text after them and booleans do not is a rule that files rely on.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "value/value.h"

namespace zelva::value {

/// Reads a value from its tag and text. Nothing when no tag or no value of its type stands there.
std::optional<Value> read_value(std::string_view text);

/// Appends tag and text of a value, so that read_value reads an equal value. REQUIRES: is_storable(value).
void write_value(const Value& value, std::string& out);

/// Whether the value can be written on one line and read back unchanged.
bool is_storable(const Value& value);

inline bool begins_with(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && std::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

inline bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

/// `text` without the blanks that it begins with.
inline std::string_view without_leading_blanks(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

/// `text` without the blanks that it ends with.
inline std::string_view without_trailing_blanks(std::string_view text) {
    while (!text.empty() && is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/// `text` without the blanks at both ends.
inline std::string_view trimmed(std::string_view text) {
    return without_leading_blanks(without_trailing_blanks(text));
}

}  // namespace zelva::value
