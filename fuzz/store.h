// The settings store "test" on a disk in memory: its C interface by type.
#pragma once

#include <zelva/settings.h>

#include <string>
#include <vector>

#include "format/entries.h"
#include "reference.h"

namespace fuzz {

using zelva::format::Slot;
using zelva::value::Type;

/// What a get gives: a status, and the value when it is ZELVA_CORE_STATUS_NO_ERROR.
struct Got {
    zelva_core_status status;
    Value value;
};
Got get(Type type, Slot slot, const std::string& key);

/// JSON is given to the library as it stands, canonical or not.
zelva_core_status set(Slot slot, const std::string& key, const Value& value);
zelva_core_status copy(Type type, const std::string& old_key, const std::string& new_key);

/// In the order of their bytes.
std::vector<std::string> keys(const std::string& prefix = "");

/// Checks that the open store hands out these entries, and nothing else.
void check_holds(const Entries& entries);

}  // namespace fuzz
