// The functions of the C interface by type, so that what holds for all nine types is tested in one loop. What all of
// them promise is checked here at each call, and std::logic_error thrown where it does not hold: a get that fails
// leaves its results as they were, and the length of an array is that of its elements.
#pragma once

#include <zelva/settings.h>

#include <functional>
#include <string>
#include <vector>

#include "model.h"
#include "value/value.h"

using model::Entry;
using model::Got;
using model::State;
using zelva::value::Json;
using zelva::value::Value;
using Strings = std::vector<std::string>;
using Ints = std::vector<int>;
using Bools = std::vector<bool>;
using Doubles = std::vector<double>;

/// The functions of one type. A NULL is passed on where the key is nullptr.
struct TypeFunctions {
    std::string name;
    zelva_core_settings_type type;
    Value first;  // two values of the type
    Value second;

    std::function<Got(const char* key)> get;
    std::function<Got(const char* key)> get_default;
    std::function<Got(const char* key)> get_configuration;
    zelva_core_status (*get_and_free)(const char* key);  // nothing else, for measuring
    std::function<zelva_core_status(const char* key, const Value&)> set;
    std::function<zelva_core_status(const char* key, const Value&)> set_default;
    std::function<zelva_core_status(const char*, const char*)> copy;
};

/// The nine types, in the order of their numbers.
const std::vector<TypeFunctions>& types();

/// Reads a key with the get of the type that it has. Throws std::runtime_error if there is no such key.
Got get(const std::string& key);
Got get_default(const std::string& key);

/// Sets a key with the set of the value's type.
zelva_core_status set(const std::string& key, const Value& value);
zelva_core_status set_default(const std::string& key, const Value& value);

Strings keys(const std::string& prefix = "");

/// What the open store holds. Throws std::runtime_error if it does not hand out a key that it lists.
State state_of_store();
