/**
 * What every program that uses the stores needs: the version, the enumerations, start and stop of the library, and the
 * arrays in which lists of values cross the interface.
 *
 * Conventions of the whole C interface (this file, settings.h, configuration.h):
 *
 *  1. A function reports its outcome as a zelva_core_status. On any status but ZELVA_CORE_STATUS_NO_ERROR its
 *     out-parameters are untouched, nothing is handed out and the store is as it was.
 *  2. What a function hands out belongs to the caller: a string is freed with free(), an array with the
 *     zelva_core_free_*_array function of its element type. What the caller passes stays the caller's.
 *  3. Strings are NUL-terminated bytes, in whatever encoding; only JSON texts are UTF-8.
 *  4. Every function may be called from any thread at any time, without a lock of the caller's, and in a child after
 *     fork(). A thread that is cancelled ends when the function returns.
 *  5. No function throws or ends the process, also when memory runs out.
 */
#ifndef ZELVA_CORE_H
#define ZELVA_CORE_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

/**
 * @name Version
 *
 * The version of these headers, "MAJOR.MINOR.PATCH". A program that was built with one version runs, and can be built,
 * with every later one of the same MAJOR. MINOR and PATCH are below 1000.
 * @{
 */
#define ZELVA_CORE_VERSION_MAJOR 0
#define ZELVA_CORE_VERSION_MINOR 1
#define ZELVA_CORE_VERSION_PATCH 0
/** As one number, which grows with the version: `#if ZELVA_CORE_VERSION >= 1002000` holds from 1.2.0 on. */
#define ZELVA_CORE_VERSION \
    (ZELVA_CORE_VERSION_MAJOR * 1000000 + ZELVA_CORE_VERSION_MINOR * 1000 + ZELVA_CORE_VERSION_PATCH)
/** @} */

/** Marks what the shared library exports; everything else in it is hidden. */
#define ZELVA_CORE_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** The outcome of an operation. The numbers are part of the interface: logs show them. */
typedef enum zelva_core_status {
    /** Success. */
    ZELVA_CORE_STATUS_NO_ERROR = 0,
    /** An argument is refused: a NULL pointer, a name or a value that the operation does not take. */
    ZELVA_CORE_STATUS_INVALID_PARAMS = 1,
    /** There is no memory left for the result; or the store to be opened is open already. */
    ZELVA_CORE_STATUS_ALLOC_FAILED = 2,
    /** The store that the operation works on is not open. */
    ZELVA_CORE_STATUS_NOT_INITIALIZED = 3,
    /** The store's file could not be read or written. */
    ZELVA_CORE_STATUS_IO_FAILED = 4,
    /** The key is there, but holds a value of another type than the operation's. */
    ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE = 5,
    /** The key is not in the store. */
    ZELVA_CORE_STATUS_SETTING_NOT_PRESENT = 6
} zelva_core_status;

/** The type of a value. The numbers are part of the interface. */
typedef enum zelva_core_settings_type {
    /** Any bytes but a line feed. */
    ZELVA_CORE_SETTING_TYPE_STRING = 0,
    /** A JSON text (RFC 8259), handed out in one canonical form. */
    ZELVA_CORE_SETTING_TYPE_JSON = 1,
    /** A 32-bit signed integer. */
    ZELVA_CORE_SETTING_TYPE_INT = 2,
    ZELVA_CORE_SETTING_TYPE_BOOL = 3,
    /** A finite 64-bit floating-point number. */
    ZELVA_CORE_SETTING_TYPE_DOUBLE = 4,
    ZELVA_CORE_SETTING_TYPE_ARRAYOFSTRING = 5,
    ZELVA_CORE_SETTING_TYPE_ARRAYOFINT = 6,
    ZELVA_CORE_SETTING_TYPE_ARRAYOFBOOL = 7,
    ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE = 8
} zelva_core_settings_type;

/** What a change of the settings store that has succeeded survives. The numbers are part of the interface. */
typedef enum zelva_core_durability {
    /** Power loss; the default. Costs a flush of the disk. */
    ZELVA_CORE_DURABILITY_FULL = 0,
    /** The end of the process, however it ends. */
    ZELVA_CORE_DURABILITY_RELAXED = 1
} zelva_core_durability;

/**
 * Tells the version of the library that the program runs with, which may be a later one than that of the headers that
 * it was built with.
 *
 * @return "MAJOR.MINOR.PATCH", a constant of the library, which is not freed.
 */
ZELVA_CORE_API const char* zelva_core_version(void);

/**
 * Starts the library: finds the settings folder (settings.h), and looks whether it is there or can be made. It makes
 * none; the first settings store that is opened does. The stores can be opened without this call, and also after it has
 * failed, but a program that makes it learns here of an environment in which no write can succeed. May be called again
 * while the library is started.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR, also when the folder exists and may only be read, as programs that only read need
 *     no more;
 *     ZELVA_CORE_STATUS_IO_FAILED when the system does not say where the folder is, for want of a working directory or
 *     of the user database, when what stands in its place is no folder or one that the program may not look into, and
 *     when there is none and the program may not make one in the nearest folder above that exists;
 *     ZELVA_CORE_STATUS_ALLOC_FAILED when there is no memory.
 */
ZELVA_CORE_API zelva_core_status zelva_core_init(void);

/**
 * Stops the library: closes the settings store and the configuration store if they are still open. What the
 * library handed out stays valid.
 *
 * @return ZELVA_CORE_STATUS_NO_ERROR, also when nothing was open.
 */
ZELVA_CORE_API zelva_core_status zelva_core_deinit(void);

/**
 * @name New value arrays
 *
 * A list of values is an array of pointers, each to one separately allocated element, and a NULL after the last:
 * its length is the number of pointers before the first NULL.
 *
 * The slots of a new string array are NULL: the caller stores strings made with strdup() or malloc() in them, from the
 * first one on. The slots of the other arrays point to elements that are 0 or false, which the caller writes through
 * them: `*array[i] = value`.
 *
 * @param n the number of elements, without the NULL after the last; with 0 the array is empty.
 * @return the array, to be freed with the free function of its element type; NULL when there is no memory.
 * @{
 */
ZELVA_CORE_API char** zelva_core_alloc_string_array(unsigned n);
ZELVA_CORE_API int** zelva_core_alloc_int_array(unsigned n);
ZELVA_CORE_API bool** zelva_core_alloc_bool_array(unsigned n);
ZELVA_CORE_API double** zelva_core_alloc_double_array(unsigned n);
/** @} */

/**
 * @name Freeing value arrays
 *
 * Releases every element up to the first NULL, then the array. NULL is allowed.
 * @{
 */
ZELVA_CORE_API void zelva_core_free_string_array(char** array);
ZELVA_CORE_API void zelva_core_free_int_array(int** array);
ZELVA_CORE_API void zelva_core_free_bool_array(bool** array);
ZELVA_CORE_API void zelva_core_free_double_array(double** array);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
