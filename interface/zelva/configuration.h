/**
 * The configuration store: typed values that a device ships and programs only read.
 *
 * The store of the name N is the file CONFIG_N in the settings folder (settings.h). It has the format of a settings
 * file and the same keys and types, but no defaults: names that begin with "DEFAULT_" are refused here too. The
 * library never writes it. A program has at most one configuration store open, beside its settings store. The
 * conventions at the top of core.h hold for every function.
 */
#ifndef ZELVA_CONFIGURATION_H
#define ZELVA_CONFIGURATION_H

#include <zelva/core.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Opens the configuration store of this name and reads its file, which must exist. Later changes of the file are not
 * seen until the store is opened again.
 *
 * @param name one path component of 1 to 200 bytes: no '/', no line feed, not beginning with '.'.
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS for NULL, a refused name, or when there is no such file;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when a configuration store is open already (it stays open) or there is no memory;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file cannot be read or is not a regular file.
 */
ZELVA_CORE_API zelva_core_status zelva_core_configuration_init(const char* name);

/**
 * Closes the configuration store.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no configuration store is open.
 */
ZELVA_CORE_API zelva_core_status zelva_core_configuration_deinit(void);

/**
 * @name Get a number or a bool
 *
 * Hands out the value of `key`, as the get of the settings store does.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL or `key` begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no configuration store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key has another type.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_int_value(const char* key, int* value);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_bool_value(const char* key, bool* value);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_double_value(const char* key, double* value);
/** @} */

/**
 * @name Get a text or an array
 *
 * Hands out the value of `key`, as the get of the settings store does: a new string freed with free(), JSON in its
 * canonical form, or a new value array (core.h) freed with zelva_core_free_*_array; `length`, which may be NULL,
 * receives the array's number of elements.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL or `key` begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no configuration store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key has another type;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory for the result.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_string_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_json_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_arrayofstring_value(const char* key, char*** value,
                                                                                  int* length);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_arrayofint_value(const char* key, int*** value,
                                                                               int* length);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_arrayofbool_value(const char* key, bool*** value,
                                                                                int* length);
ZELVA_CORE_API zelva_core_status zelva_core_configuration_get_arrayofdouble_value(const char* key, double*** value,
                                                                                  int* length);
/** @} */

/**
 * Whether the store holds `key`.
 *
 * @return true when it does; false when it does not, for NULL and for a name that begins with "DEFAULT_", when no
 *     configuration store is open, and when there is no memory, the first time that a JSON text or an array is asked
 *     for, to judge it.
 */
ZELVA_CORE_API bool zelva_core_configuration_does_key_exist(const char* key);

#ifdef __cplusplus
}
#endif

#endif
