/* Stores a setting and reads it. */
#include <zelva/settings.h>

int main(void) {
    int number = 0;
    return !(zelva_core_settings_init("consumer") == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva_core_settings_set_int_value("number", 7) == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva_core_settings_get_int_value("number", &number) == ZELVA_CORE_STATUS_NO_ERROR && number == 7 &&
             zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
}
