// Operations of the open store, each beside its rule.
#pragma once

#include <zelva/settings.h>

#include <cstddef>
#include <functional>
#include <string>

#include "types.h"

struct Operation {
    std::string name;
    std::function<zelva_core_status()> run;
    /// What the model answers and makes of the state.
    std::function<zelva_core_status(State&)> rule;
    /// Whether its success tells that this operation, and all before it, survive a power loss.
    bool is_durable = true;
};

Operation set_operation(const std::string& key, const Value& value);
Operation set_default_operation(const std::string& key, const Value& value);
Operation copy_operation(zelva::value::Type type, const std::string& old_key, const std::string& new_key);
Operation delete_operation(const std::string& key);
Operation announce_operation(unsigned version);
Operation sync_operation();

/// Closes the store and opens it again, with full durability.
Operation reopen_operation(const std::string& store);

/// The operation with relaxed durability, in a store that has full durability before and after it.
Operation relaxed(Operation operation);

/// A text of so many bytes any part of which would be an entry, if it came to stand at the beginning of a line: the
/// token, "=Sx", and so on. The token tells texts from each other.
std::string bait(std::size_t size, const std::string& token = "b");
