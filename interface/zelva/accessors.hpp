/**
 * The stores for C++: the functions of settings.h and configuration.h with standard strings and vectors.
 *
 * Each accessor has exactly the effect and the status of the C function of the same store, verb and type; what is
 * written through one is read through the other. A getter replaces what the caller's object held, and leaves it
 * untouched on any status but ZELVA_CORE_STATUS_NO_ERROR. A string that holds a NUL byte is refused with
 * ZELVA_CORE_STATUS_INVALID_PARAMS, since the store's texts end at the first one. No accessor throws, and each may be
 * called from any thread at any time.
 */
#ifndef ZELVA_ACCESSORS_HPP
#define ZELVA_ACCESSORS_HPP

#include <string>
#include <vector>

#include <zelva/core.h>

namespace zelva::core {

/** @name String @{ */
ZELVA_CORE_API zelva_core_status settingsGetString(const char* key, std::string& value);
ZELVA_CORE_API zelva_core_status settingsSetString(const char* key, const std::string& value);
ZELVA_CORE_API zelva_core_status settingsGetDefaultString(const char* key, std::string& value);
ZELVA_CORE_API zelva_core_status settingsSetDefaultString(const char* key, const std::string& value);
/** @} */

/** @name JSON: any JSON text (RFC 8259) in, its canonical form out @{ */
ZELVA_CORE_API zelva_core_status settingsGetJson(const char* key, std::string& value);
ZELVA_CORE_API zelva_core_status settingsSetJson(const char* key, const std::string& value);
ZELVA_CORE_API zelva_core_status settingsGetDefaultJson(const char* key, std::string& value);
ZELVA_CORE_API zelva_core_status settingsSetDefaultJson(const char* key, const std::string& value);
/** @} */

/** @name Bool @{ */
ZELVA_CORE_API zelva_core_status settingsGetBool(const char* key, bool& value);
ZELVA_CORE_API zelva_core_status settingsSetBool(const char* key, bool value);
ZELVA_CORE_API zelva_core_status settingsGetDefaultBool(const char* key, bool& value);
ZELVA_CORE_API zelva_core_status settingsSetDefaultBool(const char* key, bool value);
/** @} */

/** @name Array of int @{ */
ZELVA_CORE_API zelva_core_status settingsGetIntVector(const char* key, std::vector<int>& value);
ZELVA_CORE_API zelva_core_status settingsSetIntVector(const char* key, const std::vector<int>& value);
ZELVA_CORE_API zelva_core_status settingsGetDefaultIntVector(const char* key, std::vector<int>& value);
ZELVA_CORE_API zelva_core_status settingsSetDefaultIntVector(const char* key, const std::vector<int>& value);
/** @} */

/** @name Array of string @{ */
ZELVA_CORE_API zelva_core_status settingsGetStringVector(const char* key, std::vector<std::string>& value);
ZELVA_CORE_API zelva_core_status settingsSetStringVector(const char* key, const std::vector<std::string>& value);
ZELVA_CORE_API zelva_core_status settingsGetDefaultStringVector(const char* key, std::vector<std::string>& value);
ZELVA_CORE_API zelva_core_status settingsSetDefaultStringVector(const char* key, const std::vector<std::string>& value);
/** @} */

/** @name Array of bool (the vector that is set is not changed, though the reference is not const) @{ */
ZELVA_CORE_API zelva_core_status settingsGetBoolVector(const char* key, std::vector<bool>& value);
ZELVA_CORE_API zelva_core_status settingsSetBoolVector(const char* key, std::vector<bool>& value);
/** @} */

/** @name Array of double (the vector that is set is not changed, though the reference is not const) @{ */
ZELVA_CORE_API zelva_core_status settingsGetDoubleVector(const char* key, std::vector<double>& value);
ZELVA_CORE_API zelva_core_status settingsSetDoubleVector(const char* key, std::vector<double>& value);
/** @} */

/**
 * @name Arrays of the configuration store
 *
 * @return true when `key` holds an array of this type, which then replaces what `vector` held; false, with `vector`
 *     untouched, on anything else.
 * @{
 */
ZELVA_CORE_API bool configurationGetStringVector(const char* key, std::vector<std::string>& vector);
ZELVA_CORE_API bool configurationGetIntVector(const char* key, std::vector<int>& vector);
ZELVA_CORE_API bool configurationGetBoolVector(const char* key, std::vector<bool>& vector);
ZELVA_CORE_API bool configurationGetDoubleVector(const char* key, std::vector<double>& vector);
/** @} */

}  // namespace zelva::core

#endif
