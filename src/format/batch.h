// What is to become of entries.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "format/line.h"
#include "value/value.h"

namespace zelva::format {

/// An entry that gets a value, or is removed.
struct Change {
    std::string name;
    std::optional<value::Value> value;
    std::optional<Place> place;  // of the line that the entry has
};

/// Changes in order, of distinct names.
using Batch = std::vector<Change>;

/// The lines of the entries that these changes give a value to.
inline std::string lines_of(const Change* begin, const Change* end) {
    std::string text;
    for (const Change* change = begin; change != end; ++change) {
        if (change->value) {
            write_line(change->name, *change->value, text);
        }
    }
    return text;
}

}  // namespace zelva::format
