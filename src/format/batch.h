// What is to become of entries.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "format/line.h"

namespace zelva::format {

/// An entry that gets a value, or is removed.
struct Change {
    /// Whether it gets one.
    bool gives_value() const { return !line.empty(); }

    std::string name;
    std::string line;            // with the value, line feed included; empty for a removal
    std::optional<Place> place;  // of the line that the entry has
};

/// Changes in order, of distinct names.
using Batch = std::vector<Change>;

}  // namespace zelva::format
