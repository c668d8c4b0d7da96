// What libzelva-core-test has beside the functions of libzelva-core.
#include <zelva/debug.h>

#include "api/stores.h"
#include "file/paths.h"

using namespace zelva;

const char* zelva_core_debug_get_setting_path(void) {
    const char* path = nullptr;
    api::guarded([&path] {
        path = file::settings_directory().c_str();
        return file::status_of(file::create_settings_directory());
    });
    return path;
}
