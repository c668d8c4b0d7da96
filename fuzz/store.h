// The settings store "test" on a disk in memory.
#pragma once

#include <string>
#include <vector>

#include "reference.h"
#include "types.h"

namespace fuzz {

/// Checks that the open store hands out this, and nothing else.
void check_holds(const State& state);

/// Checks that the file says this, and has these comments and rejected lines.
void check_file(const File& file, const State& state, const std::vector<std::string>& others);

}  // namespace fuzz
