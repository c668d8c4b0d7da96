// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Telling the type of a key.
#include <zelva/settings.h>

#include <cstddef>

#include "boost_test.h"
#include "cases.h"

namespace cases::testGetType {

// A default is not a key of its own, though it is in the file.
#define CHECK_TYPE(key, defaultKey, expected)                                                \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_type(key, &type)); \
    BOOST_CHECK_EQUAL(type, expected);                                                       \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(defaultKey, &type))

void readTypes() {
    zelva_core_settings_type type = ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE;
    CHECK_TYPE("key1", "DEFAULT_key1", ZELVA_CORE_SETTING_TYPE_STRING);
    CHECK_TYPE("key2", "DEFAULT_key2", ZELVA_CORE_SETTING_TYPE_INT);
    CHECK_TYPE("key3", "DEFAULT_key3", ZELVA_CORE_SETTING_TYPE_BOOL);
    CHECK_TYPE("key4", "DEFAULT_key4", ZELVA_CORE_SETTING_TYPE_DOUBLE);
    CHECK_TYPE("key5", "DEFAULT_key5", ZELVA_CORE_SETTING_TYPE_JSON);
    CHECK_TYPE("key6", "DEFAULT_key6", ZELVA_CORE_SETTING_TYPE_ARRAYOFSTRING);
    CHECK_TYPE("key7", "DEFAULT_key7", ZELVA_CORE_SETTING_TYPE_ARRAYOFINT);
    CHECK_TYPE("key8", "DEFAULT_key8", ZELVA_CORE_SETTING_TYPE_ARRAYOFBOOL);
    CHECK_TYPE("key9", "DEFAULT_key9", ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE);
}

void typeNull() {
    zelva_core_settings_type type = ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(NULL, &type));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type("key1", NULL));
}

void typeInvalidKey() {
    zelva_core_settings_type type = ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_type("fred", &type));
}

}  // namespace cases::testGetType
