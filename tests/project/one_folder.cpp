// Makes the library into one that does not know ZELVA_CORE_SETTINGS_DIR, as others do not: it keeps all stores in the
// folder ONE_FOLDER. Linked before the C library, this is what it calls.
#include <stdlib.h>
#include <string.h>

extern "C" char* secure_getenv(const char* name) noexcept {
    return getenv(strcmp(name, "ZELVA_CORE_SETTINGS_DIR") == 0 ? "ONE_FOLDER" : name);
}
