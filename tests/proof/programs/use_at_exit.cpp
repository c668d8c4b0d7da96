// Uses the store after main has returned and the statics of the library would be gone, if it had any to destroy.
#include <unistd.h>
#include <zelva/settings.h>

#include <cstdio>

namespace {

struct AtExit {
    ~AtExit() {
        int number = 0;
        const bool passed = zelva_core_settings_set_int_value("k", 7) == ZELVA_CORE_STATUS_NO_ERROR &&
                            zelva_core_settings_get_int_value("k", &number) == ZELVA_CORE_STATUS_NO_ERROR &&
                            number == 7 && zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR &&
                            zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR &&
                            zelva_core_settings_delete_key("k") == ZELVA_CORE_STATUS_NO_ERROR &&
                            zelva_core_deinit() == ZELVA_CORE_STATUS_NO_ERROR;
        std::puts(passed ? "1 passed, 0 failed" : "0 passed, 1 failed");
        std::fflush(stdout);
        if (!passed) {
            _exit(1);
        }
    }
};

// Made before the library's first call, and so destroyed after whatever that made.
const AtExit at_exit;

}  // namespace

int main() {
    return zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
}
