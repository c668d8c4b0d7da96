// The accessors for C++.
#include <zelva/accessors.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/operations.h"
#include "value/json.h"

namespace zelva::core {

namespace {

using api::Json;
using api::Slot;

/// Copies what stands in a slot of `key` into the caller's object, which changes only when the copy is made.
template <class T, class Object>
zelva_core_status get(store::Store& store, Slot slot, const char* key, Object& object) {
    return api::get_value(store, slot, key, value::type_for<T>, [&object](const value::Content& value) {
        Object copy(value.get<T>());
        object = std::move(copy);
    });
}

template <class T, class Object>
zelva_core_status get(Slot slot, const char* key, Object& object) {
    return get<T>(api::settings(), slot, key, object);
}

template <class T>
zelva_core_status set(Slot slot, const char* key, const T& object) {
    return api::set_value(slot, key, [&object](value::Value& value) {
        value = object;
        return true;
    });
}

zelva_core_status set_json(Slot slot, const char* key, const std::string& text) {
    return api::set_value(slot, key, [&text](value::Value& value) {
        std::optional<Json> json = value::canonical_json(text);
        if (!json) {
            return false;
        }
        value = *std::move(json);
        return true;
    });
}

template <class T>
bool get_configuration(const char* key, T& object) {
    return get<T>(api::configuration(), Slot::value, key, object) == ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace

zelva_core_status settingsGetString(const char* key, std::string& value) {
    return get<std::string>(Slot::value, key, value);
}
zelva_core_status settingsSetString(const char* key, const std::string& value) {
    return set(Slot::value, key, value);
}
zelva_core_status settingsGetDefaultString(const char* key, std::string& value) {
    return get<std::string>(Slot::default_value, key, value);
}
zelva_core_status settingsSetDefaultString(const char* key, const std::string& value) {
    return set(Slot::default_value, key, value);
}

zelva_core_status settingsGetJson(const char* key, std::string& value) {
    return get<Json>(Slot::value, key, value);
}
zelva_core_status settingsSetJson(const char* key, const std::string& value) {
    return set_json(Slot::value, key, value);
}
zelva_core_status settingsGetDefaultJson(const char* key, std::string& value) {
    return get<Json>(Slot::default_value, key, value);
}
zelva_core_status settingsSetDefaultJson(const char* key, const std::string& value) {
    return set_json(Slot::default_value, key, value);
}

zelva_core_status settingsGetBool(const char* key, bool& value) {
    return get<bool>(Slot::value, key, value);
}
zelva_core_status settingsSetBool(const char* key, bool value) {
    return set(Slot::value, key, value);
}
zelva_core_status settingsGetDefaultBool(const char* key, bool& value) {
    return get<bool>(Slot::default_value, key, value);
}
zelva_core_status settingsSetDefaultBool(const char* key, bool value) {
    return set(Slot::default_value, key, value);
}

zelva_core_status settingsGetIntVector(const char* key, std::vector<int>& value) {
    return get<std::vector<int>>(Slot::value, key, value);
}
zelva_core_status settingsSetIntVector(const char* key, const std::vector<int>& value) {
    return set(Slot::value, key, value);
}
zelva_core_status settingsGetDefaultIntVector(const char* key, std::vector<int>& value) {
    return get<std::vector<int>>(Slot::default_value, key, value);
}
zelva_core_status settingsSetDefaultIntVector(const char* key, const std::vector<int>& value) {
    return set(Slot::default_value, key, value);
}

zelva_core_status settingsGetStringVector(const char* key, std::vector<std::string>& value) {
    return get<std::vector<std::string>>(Slot::value, key, value);
}
zelva_core_status settingsSetStringVector(const char* key, const std::vector<std::string>& value) {
    return set(Slot::value, key, value);
}
zelva_core_status settingsGetDefaultStringVector(const char* key, std::vector<std::string>& value) {
    return get<std::vector<std::string>>(Slot::default_value, key, value);
}
zelva_core_status settingsSetDefaultStringVector(const char* key, const std::vector<std::string>& value) {
    return set(Slot::default_value, key, value);
}

zelva_core_status settingsGetBoolVector(const char* key, std::vector<bool>& value) {
    return get<std::vector<bool>>(Slot::value, key, value);
}
zelva_core_status settingsSetBoolVector(const char* key, std::vector<bool>& value) {
    return set(Slot::value, key, value);
}

zelva_core_status settingsGetDoubleVector(const char* key, std::vector<double>& value) {
    return get<std::vector<double>>(Slot::value, key, value);
}
zelva_core_status settingsSetDoubleVector(const char* key, std::vector<double>& value) {
    return set(Slot::value, key, value);
}

bool configurationGetStringVector(const char* key, std::vector<std::string>& vector) {
    return get_configuration(key, vector);
}
bool configurationGetIntVector(const char* key, std::vector<int>& vector) {
    return get_configuration(key, vector);
}
bool configurationGetBoolVector(const char* key, std::vector<bool>& vector) {
    return get_configuration(key, vector);
}
bool configurationGetDoubleVector(const char* key, std::vector<double>& vector) {
    return get_configuration(key, vector);
}

}  // namespace zelva::core
