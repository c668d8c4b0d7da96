/* The C interface from C: each verb once, every array, and the sizes that a C program relies on. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <zelva/configuration.h>
#include <zelva/core.h>
#include <zelva/settings.h>

static int passed;
static int failed;

#define CHECK(condition)                                                    \
    do {                                                                    \
        if (condition) {                                                    \
            ++passed;                                                       \
        } else {                                                            \
            ++failed;                                                       \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
        }                                                                   \
    } while (0)
#define CHECK_OK(call) CHECK((call) == ZELVA_CORE_STATUS_NO_ERROR)

_Static_assert(sizeof(zelva_core_status) == sizeof(int), "a status has the size of an int");
_Static_assert(sizeof(zelva_core_settings_type) == sizeof(int), "a type has the size of an int");

static void strings(void) {
    char* text = NULL;
    char** list = NULL;
    CHECK_OK(zelva_core_settings_set_string_value("string", "one"));
    CHECK_OK(zelva_core_settings_set_default_string_value("string", "default"));
    CHECK_OK(zelva_core_settings_get_string_value("string", &text));
    CHECK(text != NULL && strcmp(text, "one") == 0);
    free(text);
    CHECK_OK(zelva_core_settings_get_default_string_value("string", &text));
    CHECK(text != NULL && strcmp(text, "default") == 0);
    free(text);
    CHECK_OK(zelva_core_settings_copy_string_key("string", "string copy"));
    list = zelva_core_settings_get_keys_starting_with("string");
    CHECK(list != NULL && list[0] != NULL && list[1] != NULL && list[2] == NULL);
    zelva_core_free_string_array(list);

    CHECK_OK(zelva_core_settings_set_json_value("json", "{\"a\":[1,2]}"));
    CHECK_OK(zelva_core_settings_get_json_value("json", &text));
    CHECK(text != NULL && strcmp(text, "{ \"a\" : [ 1, 2 ] }") == 0);
    free(text);
}

static void scalars(void) {
    int number = 0;
    bool truth = false;
    double real = 0;
    zelva_core_settings_type type = ZELVA_CORE_SETTING_TYPE_STRING;
    CHECK_OK(zelva_core_settings_set_int_value("int", -5));
    CHECK_OK(zelva_core_settings_get_int_value("int", &number));
    CHECK(number == -5);
    CHECK_OK(zelva_core_settings_set_bool_value("bool", true));
    CHECK_OK(zelva_core_settings_get_bool_value("bool", &truth));
    CHECK(truth);
    CHECK_OK(zelva_core_settings_set_double_value("double", 0.25));
    CHECK_OK(zelva_core_settings_get_double_value("double", &real));
    CHECK(real == 0.25);
    CHECK_OK(zelva_core_settings_get_type("double", &type));
    CHECK(type == ZELVA_CORE_SETTING_TYPE_DOUBLE);
    CHECK(zelva_core_settings_get_int_value("double", &number) == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    CHECK(zelva_core_settings_does_key_exist("double"));
    CHECK_OK(zelva_core_settings_delete_key("double"));
    CHECK(!zelva_core_settings_does_key_exist("double"));
}

static void arrays(void) {
    int length = -1;
    char** texts = zelva_core_alloc_string_array(2);
    int** numbers = zelva_core_alloc_int_array(2);
    bool** truths = zelva_core_alloc_bool_array(2);
    double** reals = zelva_core_alloc_double_array(0);
    CHECK(texts != NULL && texts[0] == NULL && texts[1] == NULL && texts[2] == NULL);
    CHECK(numbers != NULL && *numbers[0] == 0 && *numbers[1] == 0 && numbers[2] == NULL);
    CHECK(truths != NULL && !*truths[0] && !*truths[1] && truths[2] == NULL);
    CHECK(reals != NULL && reals[0] == NULL);
    texts[0] = strdup("a");
    texts[1] = strdup("b, c");
    *numbers[1] = 9;
    *truths[0] = true;
    CHECK_OK(zelva_core_settings_set_arrayofstring_value("strings", texts));
    CHECK_OK(zelva_core_settings_set_arrayofint_value("ints", numbers));
    CHECK_OK(zelva_core_settings_set_arrayofbool_value("bools", truths));
    CHECK_OK(zelva_core_settings_set_arrayofdouble_value("doubles", reals));
    zelva_core_free_string_array(texts);
    zelva_core_free_int_array(numbers);
    zelva_core_free_bool_array(truths);
    zelva_core_free_double_array(reals);

    CHECK_OK(zelva_core_settings_get_arrayofstring_value("strings", &texts, &length));
    CHECK(length == 2 && strcmp(texts[0], "a") == 0 && strcmp(texts[1], "b, c") == 0 && texts[2] == NULL);
    zelva_core_free_string_array(texts);
    CHECK_OK(zelva_core_settings_get_arrayofint_value("ints", &numbers, NULL));
    CHECK(*numbers[0] == 0 && *numbers[1] == 9 && numbers[2] == NULL);
    zelva_core_free_int_array(numbers);
    CHECK_OK(zelva_core_settings_get_default_arrayofbool_value("bools", &truths, &length));
    CHECK(length == 2 && *truths[0] && !*truths[1] && truths[2] == NULL);
    zelva_core_free_bool_array(truths);
    CHECK_OK(zelva_core_settings_get_arrayofdouble_value("doubles", &reals, &length));
    CHECK(length == 0 && reals != NULL && reals[0] == NULL);
    zelva_core_free_double_array(reals);
    zelva_core_free_string_array(NULL);
    zelva_core_free_int_array(NULL);
    zelva_core_free_bool_array(NULL);
    zelva_core_free_double_array(NULL);
}

static void versions(void) {
    unsigned int old_version = 0;
    unsigned int new_version = 0;
    CHECK_OK(zelva_core_settings_get_and_set_version(&old_version, 2));
    CHECK(old_version == 0);
    CHECK_OK(zelva_core_settings_get_versions(&old_version, &new_version));
    CHECK(old_version == 0 && new_version == 2);
}

static void durabilities(void) {
    int number = 0;
    for (number = -1; number < 4; ++number) {
        const bool is_one = number == ZELVA_CORE_DURABILITY_FULL || number == ZELVA_CORE_DURABILITY_RELAXED;
        CHECK(zelva_core_settings_set_durability((zelva_core_durability)number) ==
              (is_one ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INVALID_PARAMS));
    }
}

int main(void) {
    char folder[] = "/tmp/settings.XXXXXX";
    char path[sizeof folder + 20];
    CHECK(mkdtemp(folder) != NULL);
    CHECK(setenv("ZELVA_CORE_SETTINGS_DIR", folder, 1) == 0);

    CHECK_OK(zelva_core_init());
    CHECK(zelva_core_configuration_init("test") == ZELVA_CORE_STATUS_INVALID_PARAMS);
    CHECK_OK(zelva_core_settings_init("test"));
    strings();
    scalars();
    arrays();
    versions();
    durabilities();
    CHECK_OK(zelva_core_settings_reload());
    CHECK_OK(zelva_core_settings_deinit());
    CHECK(zelva_core_settings_set_int_value("int", 1) == ZELVA_CORE_STATUS_NOT_INITIALIZED);
    CHECK_OK(zelva_core_deinit());

    snprintf(path, sizeof path, "%s/test", folder);
    CHECK(unlink(path) == 0);
    snprintf(path, sizeof path, "%s/.zelva/test", folder);
    CHECK(unlink(path) == 0);
    snprintf(path, sizeof path, "%s/.zelva", folder);
    CHECK(rmdir(path) == 0);
    CHECK(rmdir(folder) == 0);
    printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
