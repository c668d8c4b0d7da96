#include "migration.h"

#define main run_example
#include "../../../examples/migrate.c"  // NOLINT(bugprone-suspicious-include): its steps are to be called by themselves

int run_announcing_first(void) {
    unsigned version = 0;
    zelva_core_status status = zelva_core_settings_init("device");
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = zelva_core_settings_get_and_set_version(&version, current_version);
    }
    for (unsigned i = version; i < current_version && status == ZELVA_CORE_STATUS_NO_ERROR; ++i) {
        status = steps[i]();
    }
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = set_defaults();
    }
    zelva_core_settings_deinit();
    return status == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
}
