// The settings store's functions.
#include <zelva/settings.h>

#include <cstring>
#include <string>
#include <vector>

#include "api/operations.h"

using namespace zelva::api;

zelva_core_status zelva_core_settings_init(const char* name) {
    return name == nullptr ? ZELVA_CORE_STATUS_INVALID_PARAMS : guarded([&] { return settings().open(name); });
}

zelva_core_status zelva_core_settings_deinit(void) {
    return guarded([] { return settings().close(); });
}

zelva_core_status zelva_core_settings_set_durability(zelva_core_durability durability) {
    // C passes any number, which may be none that a variable of this type can have in C++.
    unsigned number = 0;
    static_assert(sizeof number == sizeof durability);
    std::memcpy(&number, &durability, sizeof number);
    if (number != ZELVA_CORE_DURABILITY_FULL && number != ZELVA_CORE_DURABILITY_RELAXED) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([durability] { return settings().set_durability(durability); });
}

zelva_core_status zelva_core_settings_sync(void) {
    return guarded([] { return settings().sync(); });
}

zelva_core_status zelva_core_settings_reload(void) {
    return guarded([] { return settings().reload(); });
}

zelva_core_status zelva_core_settings_get_string_value(const char* key, char** value) {
    return get<std::string>(settings(), Slot::value, key, value);
}
zelva_core_status zelva_core_settings_get_json_value(const char* key, char** value) {
    return get<Json>(settings(), Slot::value, key, value);
}
zelva_core_status zelva_core_settings_get_int_value(const char* key, int* value) {
    return get<int>(settings(), Slot::value, key, value);
}
zelva_core_status zelva_core_settings_get_bool_value(const char* key, bool* value) {
    return get<bool>(settings(), Slot::value, key, value);
}
zelva_core_status zelva_core_settings_get_double_value(const char* key, double* value) {
    return get<double>(settings(), Slot::value, key, value);
}
zelva_core_status zelva_core_settings_get_arrayofstring_value(const char* key, char*** value, int* length) {
    return get<std::vector<std::string>>(settings(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_settings_get_arrayofint_value(const char* key, int*** value, int* length) {
    return get<std::vector<int>>(settings(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_settings_get_arrayofbool_value(const char* key, bool*** value, int* length) {
    return get<std::vector<bool>>(settings(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_settings_get_arrayofdouble_value(const char* key, double*** value, int* length) {
    return get<std::vector<double>>(settings(), Slot::value, key, value, length);
}

zelva_core_status zelva_core_settings_get_default_string_value(const char* key, char** value) {
    return get<std::string>(settings(), Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_get_default_json_value(const char* key, char** value) {
    return get<Json>(settings(), Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_get_default_int_value(const char* key, int* value) {
    return get<int>(settings(), Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_get_default_bool_value(const char* key, bool* value) {
    return get<bool>(settings(), Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_get_default_double_value(const char* key, double* value) {
    return get<double>(settings(), Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_get_default_arrayofstring_value(const char* key, char*** value, int* length) {
    return get<std::vector<std::string>>(settings(), Slot::default_value, key, value, length);
}
zelva_core_status zelva_core_settings_get_default_arrayofint_value(const char* key, int*** value, int* length) {
    return get<std::vector<int>>(settings(), Slot::default_value, key, value, length);
}
zelva_core_status zelva_core_settings_get_default_arrayofbool_value(const char* key, bool*** value, int* length) {
    return get<std::vector<bool>>(settings(), Slot::default_value, key, value, length);
}
zelva_core_status zelva_core_settings_get_default_arrayofdouble_value(const char* key, double*** value, int* length) {
    return get<std::vector<double>>(settings(), Slot::default_value, key, value, length);
}

zelva_core_status zelva_core_settings_set_string_value(const char* key, const char* value) {
    return set<std::string>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_json_value(const char* key, const char* value) {
    return set<Json>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_int_value(const char* key, int value) {
    return set<int>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_bool_value(const char* key, bool value) {
    return set<bool>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_double_value(const char* key, double value) {
    return set<double>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_arrayofstring_value(const char* key, char** value) {
    return set<std::vector<std::string>>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_arrayofint_value(const char* key, int** value) {
    return set<std::vector<int>>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_arrayofbool_value(const char* key, bool** value) {
    return set<std::vector<bool>>(Slot::value, key, value);
}
zelva_core_status zelva_core_settings_set_arrayofdouble_value(const char* key, double** value) {
    return set<std::vector<double>>(Slot::value, key, value);
}

zelva_core_status zelva_core_settings_set_default_string_value(const char* key, const char* value) {
    return set<std::string>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_json_value(const char* key, const char* value) {
    return set<Json>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_int_value(const char* key, int value) {
    return set<int>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_bool_value(const char* key, bool value) {
    return set<bool>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_double_value(const char* key, double value) {
    return set<double>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_arrayofstring_value(const char* key, char** value) {
    return set<std::vector<std::string>>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_arrayofint_value(const char* key, int** value) {
    return set<std::vector<int>>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_arrayofbool_value(const char* key, bool** value) {
    return set<std::vector<bool>>(Slot::default_value, key, value);
}
zelva_core_status zelva_core_settings_set_default_arrayofdouble_value(const char* key, double** value) {
    return set<std::vector<double>>(Slot::default_value, key, value);
}

zelva_core_status zelva_core_settings_copy_string_key(const char* oldKey, const char* newKey) {
    return copy<std::string>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_json_key(const char* oldKey, const char* newKey) {
    return copy<Json>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_int_key(const char* oldKey, const char* newKey) {
    return copy<int>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_bool_key(const char* oldKey, const char* newKey) {
    return copy<bool>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_double_key(const char* oldKey, const char* newKey) {
    return copy<double>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_arrayofstring_key(const char* oldKey, const char* newKey) {
    return copy<std::vector<std::string>>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_arrayofint_key(const char* oldKey, const char* newKey) {
    return copy<std::vector<int>>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_arrayofbool_key(const char* oldKey, const char* newKey) {
    return copy<std::vector<bool>>(oldKey, newKey);
}
zelva_core_status zelva_core_settings_copy_arrayofdouble_key(const char* oldKey, const char* newKey) {
    return copy<std::vector<double>>(oldKey, newKey);
}

bool zelva_core_settings_does_key_exist(const char* key) {
    return contains(settings(), key);
}

zelva_core_status zelva_core_settings_get_type(const char* key, zelva_core_settings_type* type) {
    if (key == nullptr || type == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return settings().type(key, *type); });
}

zelva_core_status zelva_core_settings_delete_key(const char* key) {
    return key == nullptr ? ZELVA_CORE_STATUS_INVALID_PARAMS : guarded([&] { return settings().remove(key); });
}

char** zelva_core_settings_get_all_keys(void) {
    return zelva_core_settings_get_keys_starting_with("");
}

char** zelva_core_settings_get_keys_starting_with(const char* prefix) {
    if (prefix == nullptr) {
        return nullptr;
    }
    char** list = nullptr;
    guarded([&] {
        std::vector<std::string> keys;
        const zelva_core_status status = settings().list(prefix, [&](std::string_view key) { keys.emplace_back(key); });
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            to_c(keys, &list, nullptr);
        }
        return status;
    });
    return list;
}

zelva_core_status zelva_core_settings_get_and_set_version(unsigned int* oldVersion, unsigned int newVersion) {
    if (oldVersion == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return settings().announce_version(newVersion, *oldVersion); });
}

zelva_core_status zelva_core_settings_get_versions(unsigned int* oldVersion, unsigned int* newVersion) {
    if (oldVersion == nullptr || newVersion == nullptr) {
        return ZELVA_CORE_STATUS_INVALID_PARAMS;
    }
    return guarded([&] { return settings().versions(*oldVersion, *newVersion); });
}
