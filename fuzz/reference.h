// The file format read a second time, as plainly as README.md describes it, to hold the library to. Only JSON texts are
// left to the library; they have a fuzzer of their own.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model.h"

namespace fuzz {

using model::default_prefix;
using model::is_reserved;
using model::is_same;
using model::Value;

/// The number that `text` begins with, by the C library.
std::optional<int> read_int(const std::string& text);
std::optional<double> read_double(const std::string& text);

/// Entries by the names of their lines, defaults included.
using Entries = std::map<std::string, Value>;

struct File {
    Entries entries;
    std::vector<std::string> others;  // comments and rejected lines, which stay where they are; not the withdrawn ones
};
File read_file(const std::string& text);

/// What a store with these entries holds: a default without its key means nothing.
model::State state_of(const Entries& entries);

bool is_same(const Entries& left, const Entries& right);

}  // namespace fuzz
