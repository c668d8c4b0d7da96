/* Stores a setting and reads it. Given a version, checks that it is that of the headers and of the library. */
#include <stdio.h>
#include <string.h>
#include <zelva/settings.h>

#if ZELVA_CORE_VERSION < 1000
#error "older than any version"
#endif

static int is_version(const char* text) {
    int major = -1;
    int minor = -1;
    int patch = -1;
    return sscanf(text, "%d.%d.%d", &major, &minor, &patch) == 3 && major == ZELVA_CORE_VERSION_MAJOR &&
           minor == ZELVA_CORE_VERSION_MINOR && patch == ZELVA_CORE_VERSION_PATCH &&
           ZELVA_CORE_VERSION == major * 1000000 + minor * 1000 + patch && strcmp(text, zelva_core_version()) == 0;
}

int main(int argc, char** argv) {
    int number = 0;
    if (argc > 1 && !is_version(argv[1])) {
        fprintf(stderr, "version %s, headers of %d, library %s\n", argv[1], ZELVA_CORE_VERSION, zelva_core_version());
        return 1;
    }
    return !(zelva_core_settings_init("consumer") == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva_core_settings_set_int_value("number", 7) == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva_core_settings_get_int_value("number", &number) == ZELVA_CORE_STATUS_NO_ERROR && number == 7 &&
             zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
}
