// The configuration store's functions.
#include <zelva/configuration.h>

#include <string>
#include <vector>

#include "api/operations.h"

using namespace zelva::api;

zelva_core_status zelva_core_configuration_init(const char* name) {
    return name == nullptr ? ZELVA_CORE_STATUS_INVALID_PARAMS : guarded([&] { return configuration().open(name); });
}

zelva_core_status zelva_core_configuration_deinit(void) {
    return guarded([] { return configuration().close(); });
}

zelva_core_status zelva_core_configuration_get_string_value(const char* key, char** value) {
    return get<std::string>(configuration(), Slot::value, key, value);
}
zelva_core_status zelva_core_configuration_get_json_value(const char* key, char** value) {
    return get<Json>(configuration(), Slot::value, key, value);
}
zelva_core_status zelva_core_configuration_get_int_value(const char* key, int* value) {
    return get<int>(configuration(), Slot::value, key, value);
}
zelva_core_status zelva_core_configuration_get_bool_value(const char* key, bool* value) {
    return get<bool>(configuration(), Slot::value, key, value);
}
zelva_core_status zelva_core_configuration_get_double_value(const char* key, double* value) {
    return get<double>(configuration(), Slot::value, key, value);
}
zelva_core_status zelva_core_configuration_get_arrayofstring_value(const char* key, char*** value, int* length) {
    return get<std::vector<std::string>>(configuration(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_configuration_get_arrayofint_value(const char* key, int*** value, int* length) {
    return get<std::vector<int>>(configuration(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_configuration_get_arrayofbool_value(const char* key, bool*** value, int* length) {
    return get<std::vector<bool>>(configuration(), Slot::value, key, value, length);
}
zelva_core_status zelva_core_configuration_get_arrayofdouble_value(const char* key, double*** value, int* length) {
    return get<std::vector<double>>(configuration(), Slot::value, key, value, length);
}

bool zelva_core_configuration_does_key_exist(const char* key) {
    return contains(configuration(), key);
}
