/**
 * What only libzelva-core-test has, for programs that test a store by looking at its files.
 */
#ifndef ZELVA_DEBUG_H
#define ZELVA_DEBUG_H

#include <zelva/core.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The settings folder (settings.h), without a separator at its end. Creates the folder if need be, so that the
 * caller can put a store's file into it.
 *
 * @return the path, also when the folder could not be created. The string belongs to the library, stays valid until the
 *     process ends, and is the same at every call. NULL when there is no memory, or the system does not say where the
 *     folder is.
 */
ZELVA_CORE_API const char* zelva_core_debug_get_setting_path(void);

#ifdef __cplusplus
}
#endif

#endif
