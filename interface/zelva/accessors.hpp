/**
 * The stores for C++: the functions of settings.h and configuration.h with standard strings and vectors.
 *
 * Each accessor has exactly the effect and the status of the C function that its description names; what is written
 * through one is read through the other. A getter replaces what the caller's object held, and leaves it untouched on
 * any status but ZELVA_CORE_STATUS_NO_ERROR. A setter gives a key that is absent a value as its default too, and a
 * default as its value. A vector may be empty. Refused with ZELVA_CORE_STATUS_INVALID_PARAMS are a key that is NULL and
 * a string, also as an element, that holds a NUL byte, since the store's texts end at the first one. No accessor
 * throws, and each may be called from any thread at any time.
 *
 * What has no accessor has its C function, which a C++ program calls as well: ints and doubles, the defaults of arrays
 * of bool and of double, what the configuration store holds but arrays, and all that is done with keys.
 */
#ifndef ZELVA_ACCESSORS_HPP
#define ZELVA_ACCESSORS_HPP

#include <string>
#include <vector>

#include <zelva/core.h>

namespace zelva::core {

/** @name String @{ */

/** Hands out the string under `key`, as zelva_core_settings_get_string_value. */
ZELVA_CORE_API zelva_core_status settingsGetString(const char* key, std::string& value);

/** Gives `key` this string, as zelva_core_settings_set_string_value. */
ZELVA_CORE_API zelva_core_status settingsSetString(const char* key, const std::string& value);

/** Hands out the default of `key`, a string, as zelva_core_settings_get_default_string_value. */
ZELVA_CORE_API zelva_core_status settingsGetDefaultString(const char* key, std::string& value);

/** Gives `key` this default, as zelva_core_settings_set_default_string_value. */
ZELVA_CORE_API zelva_core_status settingsSetDefaultString(const char* key, const std::string& value);

/** @} */

/** @name JSON @{ */

/** Hands out the JSON text under `key`, in its canonical form, as zelva_core_settings_get_json_value. */
ZELVA_CORE_API zelva_core_status settingsGetJson(const char* key, std::string& value);

/** Gives `key` this JSON text, of whatever form, as zelva_core_settings_set_json_value. */
ZELVA_CORE_API zelva_core_status settingsSetJson(const char* key, const std::string& value);

/** Hands out the default of `key`, a JSON text in its canonical form, as zelva_core_settings_get_default_json_value. */
ZELVA_CORE_API zelva_core_status settingsGetDefaultJson(const char* key, std::string& value);

/** Gives `key` this default, as zelva_core_settings_set_default_json_value. */
ZELVA_CORE_API zelva_core_status settingsSetDefaultJson(const char* key, const std::string& value);

/** @} */

/** @name Bool @{ */

/** Hands out the bool under `key`, as zelva_core_settings_get_bool_value. */
ZELVA_CORE_API zelva_core_status settingsGetBool(const char* key, bool& value);

/** Gives `key` this bool, as zelva_core_settings_set_bool_value. */
ZELVA_CORE_API zelva_core_status settingsSetBool(const char* key, bool value);

/** Hands out the default of `key`, a bool, as zelva_core_settings_get_default_bool_value. */
ZELVA_CORE_API zelva_core_status settingsGetDefaultBool(const char* key, bool& value);

/** Gives `key` this default, as zelva_core_settings_set_default_bool_value. */
ZELVA_CORE_API zelva_core_status settingsSetDefaultBool(const char* key, bool value);

/** @} */

/** @name Array of int @{ */

/** Hands out the array of ints under `key`, as zelva_core_settings_get_arrayofint_value. */
ZELVA_CORE_API zelva_core_status settingsGetIntVector(const char* key, std::vector<int>& value);

/** Gives `key` this array of ints, as zelva_core_settings_set_arrayofint_value. */
ZELVA_CORE_API zelva_core_status settingsSetIntVector(const char* key, const std::vector<int>& value);

/** Hands out the default of `key`, an array of ints, as zelva_core_settings_get_default_arrayofint_value. */
ZELVA_CORE_API zelva_core_status settingsGetDefaultIntVector(const char* key, std::vector<int>& value);

/** Gives `key` this default, as zelva_core_settings_set_default_arrayofint_value. */
ZELVA_CORE_API zelva_core_status settingsSetDefaultIntVector(const char* key, const std::vector<int>& value);

/** @} */

/** @name Array of string @{ */

/** Hands out the array of strings under `key`, as zelva_core_settings_get_arrayofstring_value. */
ZELVA_CORE_API zelva_core_status settingsGetStringVector(const char* key, std::vector<std::string>& value);

/** Gives `key` this array of strings, as zelva_core_settings_set_arrayofstring_value. */
ZELVA_CORE_API zelva_core_status settingsSetStringVector(const char* key, const std::vector<std::string>& value);

/** Hands out the default of `key`, an array of strings, as zelva_core_settings_get_default_arrayofstring_value. */
ZELVA_CORE_API zelva_core_status settingsGetDefaultStringVector(const char* key, std::vector<std::string>& value);

/** Gives `key` this default, as zelva_core_settings_set_default_arrayofstring_value. */
ZELVA_CORE_API zelva_core_status settingsSetDefaultStringVector(const char* key, const std::vector<std::string>& value);

/** @} */

/** @name Array of bool @{ */

/** Hands out the array of bools under `key`, as zelva_core_settings_get_arrayofbool_value. */
ZELVA_CORE_API zelva_core_status settingsGetBoolVector(const char* key, std::vector<bool>& value);

/** Gives `key` this array of bools, as zelva_core_settings_set_arrayofbool_value. The vector is not changed, though the
 * reference is not const. */
ZELVA_CORE_API zelva_core_status settingsSetBoolVector(const char* key, std::vector<bool>& value);

/** @} */

/** @name Array of double @{ */

/** Hands out the array of doubles under `key`, as zelva_core_settings_get_arrayofdouble_value. */
ZELVA_CORE_API zelva_core_status settingsGetDoubleVector(const char* key, std::vector<double>& value);

/** Gives `key` this array of doubles, as zelva_core_settings_set_arrayofdouble_value. The vector is not changed, though
 * the reference is not const. */
ZELVA_CORE_API zelva_core_status settingsSetDoubleVector(const char* key, std::vector<double>& value);

/** @} */

/**
 * @name Arrays of the configuration store
 *
 * @return true when `key` holds an array of this type, which then replaces what `vector` held; false, with `vector`
 *     untouched, on any other status of the C function.
 * @{
 */

/** Hands out the array of strings under `key`, as zelva_core_configuration_get_arrayofstring_value. */
ZELVA_CORE_API bool configurationGetStringVector(const char* key, std::vector<std::string>& vector);

/** Hands out the array of ints under `key`, as zelva_core_configuration_get_arrayofint_value. */
ZELVA_CORE_API bool configurationGetIntVector(const char* key, std::vector<int>& vector);

/** Hands out the array of bools under `key`, as zelva_core_configuration_get_arrayofbool_value. */
ZELVA_CORE_API bool configurationGetBoolVector(const char* key, std::vector<bool>& vector);

/** Hands out the array of doubles under `key`, as zelva_core_configuration_get_arrayofdouble_value. */
ZELVA_CORE_API bool configurationGetDoubleVector(const char* key, std::vector<double>& vector);

/** @} */

}  // namespace zelva::core

#endif
