/**
 * The settings store: typed values under keys, kept in a text file, one line a key.
 *
 * A program has at most one settings store open. The conventions at the top of core.h hold for every function.
 *
 * Keys. A key is a string that is not empty, holds no '=' and no line feed, has no space or tab at either end, and
 * does not begin with '#' or ';' (a line that begins so is a comment). Names that begin with "DEFAULT_" belong to
 * the store: every operation refuses them, and no list holds them. The operations that write refuse any other name
 * with ZELVA_CORE_STATUS_INVALID_PARAMS; for those that read such a key is merely not present.
 *
 * Types. A key keeps its type for as long as it exists. It gets another one by being deleted and written anew.
 *
 * Defaults. A key may have a default beside its value, of the same type. The first write of a key, whether it sets
 * the value or the default, gives it both. From then on the two are written separately: a default that a later release
 * sets does not change the value that the first one has become. A get never hands out the default for the value.
 * Deleting a key deletes its default too.
 *
 * Statuses. Every function decides in this order: NULL arguments, "DEFAULT_" names and unacceptable names and
 * values (ZELVA_CORE_STATUS_INVALID_PARAMS), a store that is not open (ZELVA_CORE_STATUS_NOT_INITIALIZED), an absent
 * key (ZELVA_CORE_STATUS_SETTING_NOT_PRESENT), a key of another type (ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE),
 * then what the work itself may meet: ZELVA_CORE_STATUS_IO_FAILED, when the file could not be read or written, and
 * ZELVA_CORE_STATUS_ALLOC_FAILED, when there is no memory. ZELVA_CORE_STATUS_NO_ERROR is success. Any other status has
 * changed nothing; only where the disk itself has failed half way, the key may have its new value all the same, and the
 * next write or restart finds out.
 *
 * JSON. Any JSON text (RFC 8259) is taken, with one exception: control characters may stand in its strings as they
 * are. It is handed out in one canonical form, on one line: "{ " members " }" and "[ " elements " ]" with ", " between
 * them, " : " after a name, "{}" and "[]" when empty. Members keep their order, repeated names included. A number is
 * the nearest double in 20 significant digits: 0.1 is 0.10000000000000000555, and integers above 2^53 are rounded. In
 * strings, quotes, backslashes and \b \f \n \r \t \u0000 are escapes, a character of two or three bytes in UTF-8 is
 * \u and four lower-case hexadecimal digits, and all else stands as itself: other control characters too, for which
 * strict readers of JSON want an escape. Refused is what neither Unicode nor a double can hold: bytes that are not
 * UTF-8, half a surrogate pair, a number beyond the largest double.
 *
 * Files. The store of the name N is the file N in the settings folder: the folder that the environment variable
 * ZELVA_CORE_SETTINGS_DIR names; without it /var/lib/zelva/settings for root, and for anyone else zelva/settings in
 * $XDG_CONFIG_HOME, or in ~/.config, or, for a user without a home, root's folder. The home is $HOME, or that of the
 * user database where $HOME is no existing folder; a home that does not exist, as those of daemons' users often do not,
 * is none. Set-user-ID programs do not look at the environment. The folder is chosen once in the life of a process, and
 * created when the first settings store is opened. A write that succeeds is in the file, and on the disk, before the
 * function returns; it costs one flush (zelva_core_settings_set_durability). The file is changed a line at a time: a
 * new line is written at its end, and the old one gets '=' as its first byte, which makes it a line that every reader
 * passes over. Files of 2 GiB are refused.
 *
 * Programs. Several may have the same store open. What one has written, the next get of another sees; what a person
 * has changed in the file, the next write finds, and zelva_core_settings_reload reads.
 */
#ifndef ZELVA_SETTINGS_H
#define ZELVA_SETTINGS_H

#include <zelva/core.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Opens the settings store of this name and reads its file. A file that does not exist yet is an empty store; the
 * first write creates it. Lines that are neither a comment nor a well-formed entry are passed over, and stay.
 *
 * @param name one path component of 1 to 200 bytes: no '/', no line feed, not beginning with '.'. Names that begin
 *     with "CONFIG_" are those of configuration files and are refused.
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS for NULL or a refused name;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when a settings store is open already, be it this one or one of another name
 *     (that store stays open), or there is no memory;
 *     ZELVA_CORE_STATUS_IO_FAILED when there is a file and it cannot be read, there is something else in its place, or
 *     its folder may not be searched.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_init(const char* name);

/**
 * Closes the settings store, with full durability for the next one that is opened. Everything that was written is in
 * the file already; what was written with relaxed durability is not flushed.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_deinit(void);

/**
 * Chooses what later writes survive, until the store is closed.
 *
 * With relaxed durability power loss may take back the last changes of each key, one by one, back to those before
 * the last zelva_core_settings_sync or the last change with full durability. Each key then has a value that it once
 * had; none is torn. Changes whose line in the file is longer than 512 bytes are still flushed in part, to keep that
 * promise.
 *
 * @param durability one of the enumerators; ZELVA_CORE_DURABILITY_FULL when a store is opened.
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS for a number that is no zelva_core_durability;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_durability(zelva_core_durability durability);

/**
 * Makes durable all that was set, by whichever program: from here on it survives power loss.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be flushed: power loss may take back what was set since the
 *     last success;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_sync(void);

/**
 * Reads the store's file again. What other programs write is seen without it; what a person changes with an editor is
 * seen after it, or after the next write.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file cannot be read: the store holds what it held;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory: the store holds what it held.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_reload(void);

/**
 * @name Get
 *
 * Hands out the value of `key`. A string or JSON text is a new one, freed with free(); JSON comes in its canonical
 * form. An array is a new value array (core.h), freed with zelva_core_free_*_array; `length`, which may be NULL,
 * receives its number of elements, without the NULL after the last.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL or `key` begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key has another type; string and JSON are two types, and so are
 *     an array and its elements;
 *     ZELVA_CORE_STATUS_IO_FAILED when another program has changed the file and it cannot be read again;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory for the result, or to read the file again.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_string_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_json_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_int_value(const char* key, int* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_bool_value(const char* key, bool* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_double_value(const char* key, double* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_arrayofstring_value(const char* key, char*** value,
                                                                             int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_arrayofint_value(const char* key, int*** value, int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_arrayofbool_value(const char* key, bool*** value, int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_arrayofdouble_value(const char* key, double*** value,
                                                                             int* length);
/** @} */

/**
 * @name Get the default
 *
 * Hands out the default of `key`, as the get of the same type hands out its value.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL or `key` begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent, and when it has no default;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key, or in a file that a person has edited its default alone,
 *     has another type;
 *     ZELVA_CORE_STATUS_IO_FAILED when another program has changed the file and it cannot be read again;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory for the result, or to read the file again.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_string_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_json_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_int_value(const char* key, int* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_bool_value(const char* key, bool* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_double_value(const char* key, double* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_arrayofstring_value(const char* key, char*** value,
                                                                                     int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_arrayofint_value(const char* key, int*** value,
                                                                                  int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_arrayofbool_value(const char* key, bool*** value,
                                                                                   int* length);
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_default_arrayofdouble_value(const char* key, double*** value,
                                                                                     int* length);
/** @} */

/**
 * @name Set
 *
 * Gives `key` a value. A key that is absent is created, with the same value as its default. The default of a key
 * that exists stays as it is. A value that the key has already is not written again, unless a person has written its
 * line in another form than the store does; with full durability it is flushed if it may not be on the disk yet. Arrays
 * are value arrays (core.h), as long as their first NULL says; an empty one is a value like any other. What the store
 * cannot read back unchanged it refuses: a string with a line feed, a text that is not JSON, a number that is not
 * finite, an array string with a line feed or with a space or tab at either end.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL, the name is not one of a key, or the value is
 *     refused, whatever the store holds;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key exists with another type;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be read or written;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_string_value(const char* key, const char* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_json_value(const char* key, const char* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_int_value(const char* key, int value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_bool_value(const char* key, bool value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_double_value(const char* key, double value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_arrayofstring_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_arrayofint_value(const char* key, int** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_arrayofbool_value(const char* key, bool** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_arrayofdouble_value(const char* key, double** value);
/** @} */

/**
 * @name Set the default
 *
 * Gives `key` a default. A key that is absent is created, with the default as its value. The value of a key that
 * exists stays as it is. Refused is what a set refuses.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `value` is NULL, the name is not one of a key, or the value is
 *     refused, whatever the store holds;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the key exists with another type;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be read or written;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_string_value(const char* key, const char* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_json_value(const char* key, const char* value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_int_value(const char* key, int value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_bool_value(const char* key, bool value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_double_value(const char* key, double value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_arrayofstring_value(const char* key, char** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_arrayofint_value(const char* key, int** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_arrayofbool_value(const char* key, bool** value);
ZELVA_CORE_API zelva_core_status zelva_core_settings_set_default_arrayofdouble_value(const char* key, double** value);
/** @} */

/**
 * @name Copy
 *
 * Gives `newKey` the value of `oldKey`, as a set would: a `newKey` that is absent is created with that value as its
 * value and its default; one that exists keeps its default. `oldKey` stays as it is. To rename a key, copy it and
 * delete the old one.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when a key is NULL or begins with "DEFAULT_", or `newKey` is not the name of a
 *     key;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when `oldKey` is absent;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when either key has another type;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be read or written;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 * @{
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_string_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_json_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_int_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_bool_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_double_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_arrayofstring_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_arrayofint_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_arrayofbool_key(const char* oldKey, const char* newKey);
ZELVA_CORE_API zelva_core_status zelva_core_settings_copy_arrayofdouble_key(const char* oldKey, const char* newKey);
/** @} */

/**
 * Whether the store holds `key`.
 *
 * @return true when it does; false when it does not, for NULL and for a name that begins with "DEFAULT_", when no
 *     settings store is open, when another program has changed the file and it cannot be read again, and when there is
 *     no memory for that or, the first time that a JSON text or an array is asked for, to judge it.
 */
ZELVA_CORE_API bool zelva_core_settings_does_key_exist(const char* key);

/**
 * Tells the type of a key.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` or `type` is NULL or `key` begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent;
 *     ZELVA_CORE_STATUS_IO_FAILED when another program has changed the file and it cannot be read again;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory to read it again or, the first time that a JSON text or an
 *     array is asked for, to judge it.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_type(const char* key, zelva_core_settings_type* type);

/**
 * Removes a key, its value and its default, from the store and from the file. The name is then free for a key of any
 * type.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `key` is NULL or begins with "DEFAULT_";
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when the key is absent;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be read or written;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_delete_key(const char* key);

/**
 * Lists the keys of the store, each once, in no particular order.
 *
 * @return a new array of strings (core.h), freed with zelva_core_free_string_array; empty when the store is. NULL
 *     when no settings store is open, when there is no memory, and when another program has changed the file and it
 *     cannot be read again.
 */
ZELVA_CORE_API char** zelva_core_settings_get_all_keys(void);

/**
 * Lists the keys that begin with the bytes of `prefix`, each once, in no particular order. The empty prefix lists all.
 *
 * @return a new array of strings (core.h), freed with zelva_core_free_string_array; empty when no key matches. NULL
 *     when `prefix` is NULL, when no settings store is open, when there is no memory, and when another program has
 *     changed the file and it cannot be read again.
 */
ZELVA_CORE_API char** zelva_core_settings_get_keys_starting_with(const char* prefix);

/**
 * Announces the version of the settings that this program expects, and tells which version they were last brought
 * to. The version is kept as the int key "Version", without a default. Announcing one only ever raises it; as a key
 * like any other it can be set and deleted.
 *
 * A version that is announced is stored before this returns. So a program that has settings to migrate calls this last:
 * if it announced first and were killed half way, old settings would stay under the new version for good. First it
 * reads "Version" with zelva_core_settings_get_int_value; where that key is absent, the settings are from before there
 * were versions, or there are none. Then it migrates in steps that can be repeated, since one that is killed begins
 * anew. With relaxed durability it calls zelva_core_settings_sync before this: power loss could otherwise leave
 * the version and take back a step. examples/migrate.c is such a program.
 *
 * @param oldVersion receives the version that the settings had: that of the file; 0 for settings from before there
 *     were versions; `newVersion` when there are no settings at all, and so nothing to migrate.
 * @param newVersion 1 to INT_MAX. Stored when it is higher than the version of the file.
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when `oldVersion` is NULL or `newVersion` is out of range;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open;
 *     ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE when the file holds a "Version" that is not an int;
 *     ZELVA_CORE_STATUS_IO_FAILED when the file could not be read or written;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_and_set_version(unsigned int* oldVersion,
                                                                         unsigned int newVersion);

/**
 * Tells both versions of the last successful zelva_core_settings_get_and_set_version since the store was opened: the
 * one that the settings had, and the one that was announced, also when it was lower and therefore not stored.
 *
 * @param oldVersion receives the version that the settings had, 0 to INT_MAX.
 * @param newVersion receives the version that was announced, 1 to INT_MAX.
 * @return ZELVA_CORE_STATUS_NO_ERROR;
 *     ZELVA_CORE_STATUS_INVALID_PARAMS when a pointer is NULL or no version has been announced;
 *     ZELVA_CORE_STATUS_NOT_INITIALIZED when no settings store is open.
 */
ZELVA_CORE_API zelva_core_status zelva_core_settings_get_versions(unsigned int* oldVersion, unsigned int* newVersion);

#ifdef __cplusplus
}
#endif

#endif
