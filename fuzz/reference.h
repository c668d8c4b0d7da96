// The file format read a second time, as plainly as README.md describes it, to hold the library to. Only JSON texts are
// left to the library; they have a fuzzer of their own.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "value/value.h"

namespace fuzz {

using zelva::value::Value;

/// The number that `text` begins with, by the C library.
std::optional<int> read_int(const std::string& text);
std::optional<double> read_double(const std::string& text);

/// Whether two values are the same, bit for bit: 0 and -0 are not.
bool is_same(const Value& left, const Value& right);

/// Entries by the names of their lines, defaults included.
using Entries = std::map<std::string, Value>;

struct File {
    Entries entries;
    std::vector<std::string> others;  // comments and rejected lines, which stay where they are; not the withdrawn ones
};
File read_file(const std::string& text);

const std::string default_prefix = "DEFAULT_";

/// Whether a name is that of a default.
bool is_reserved(const std::string& name);

/// Entries without defaults that stand without their key, which mean nothing.
Entries meaning(Entries entries);

bool is_same(const Entries& left, const Entries& right);

}  // namespace fuzz
