// What one line of a store's file means.
//
// A line is a comment (its first character is '#' or ';'), an entry ("key = " and the text of a value), or a rejected
// line: anything else. Comments and rejected lines mean nothing to a store.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "value/packed.h"

namespace zelva::file {

/// The key is a part of the line; the value refers to it.
struct Entry {
    std::string_view key;
    value::Packed value;
};

/// Reads a line, given without its line feed. Nothing when it is not an entry. REQUIRES: it holds no NUL.
std::optional<Entry> read_line(std::string_view line);

/// Appends the line of an entry, line feed included. REQUIRES: is_key(key), and the value is storable.
void write_line(std::string_view key, const value::Value& value, std::string& out);

/// Whether an entry written under this key is read back under this key: it is not empty, holds no '=', no line feed
/// and no NUL, has no blanks at its ends, and does not begin like a comment.
bool is_key(std::string_view key);

}  // namespace zelva::file
