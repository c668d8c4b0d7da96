/* Brings the settings of older releases to what this release expects.
 *
 * The program may be killed at any moment, and begins anew the next time. So each step can be repeated, and finds
 * nothing to do when it has been done; and the new version is announced last, when all steps are. */
#include <stdio.h>
#include <zelva/settings.h>

static zelva_core_status unless_absent(zelva_core_status status) {
    return status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT ? ZELVA_CORE_STATUS_NO_ERROR : status;
}

/* Version 1 calls "host" "server". */
static zelva_core_status rename_host(void) {
    zelva_core_status status = zelva_core_settings_copy_string_key("host", "server");
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = zelva_core_settings_delete_key("host");
    }
    return unless_absent(status);
}

/* Version 2 keeps the time-out in milliseconds: under a new name, which tells whether that has been done. */
static zelva_core_status refine_timeout(void) {
    int seconds = 0;
    zelva_core_status status = zelva_core_settings_get_int_value("timeout", &seconds);
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = zelva_core_settings_set_int_value("timeout_ms", seconds < 3600 ? seconds * 1000 : 3600000);
    }
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = zelva_core_settings_delete_key("timeout");
    }
    return unless_absent(status);
}

/* Version 3 has a better default for the brightness, which whoever has left it at the old one is to get. */
static zelva_core_status brighten(void) {
    int brightness = 0;
    zelva_core_status status = zelva_core_settings_get_int_value("brightness", &brightness);
    if (status == ZELVA_CORE_STATUS_NO_ERROR && brightness == 50) {
        status = zelva_core_settings_set_int_value("brightness", 80);
    }
    return unless_absent(status);
}

/* The step that leads to each version. */
static zelva_core_status (*const steps[])(void) = {rename_host, refine_timeout, brighten};
enum { current_version = sizeof steps / sizeof *steps };

static zelva_core_status migrate(void) {
    int version = 0; /* of settings from before there were versions; in new ones the steps find nothing to do */
    zelva_core_status status = unless_absent(zelva_core_settings_get_int_value("Version", &version));
    for (int i = version < 0 ? 0 : version; i < current_version && status == ZELVA_CORE_STATUS_NO_ERROR; ++i) {
        status = steps[i]();
    }
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        unsigned before = 0;
        status = zelva_core_settings_get_and_set_version(&before, current_version);
    }
    return status;
}

/* At every start, as a default that is there already is not written again. */
static zelva_core_status set_defaults(void) {
    zelva_core_status status = zelva_core_settings_set_default_int_value("timeout_ms", 30000);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? zelva_core_settings_set_default_int_value("brightness", 80) : status;
}

int main(void) {
    zelva_core_status status = zelva_core_settings_init("device");
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = migrate();
    }
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        status = set_defaults();
    }
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        fprintf(stderr, "cannot bring the settings up to date: status %d\n", (int)status);
    }
    zelva_core_settings_deinit();
    return status == ZELVA_CORE_STATUS_NO_ERROR ? 0 : 1;
}
