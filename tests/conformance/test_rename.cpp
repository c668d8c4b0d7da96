// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Copying keys, which is how a program renames them.
#include <zelva/settings.h>

#include <cstdlib>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using std::string;

namespace cases::testRename {

// A NULL is found before a key is looked up: there is no key of that name.
#define CHECK_NULLS(copy)                                                     \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, copy(NULL, "dummy")); \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, copy("dummy", NULL))

void invalidRenameParams() {
    CHECK_NULLS(zelva_core_settings_copy_string_key);
    CHECK_NULLS(zelva_core_settings_copy_json_key);
    CHECK_NULLS(zelva_core_settings_copy_int_key);
    CHECK_NULLS(zelva_core_settings_copy_bool_key);
    CHECK_NULLS(zelva_core_settings_copy_double_key);
    CHECK_NULLS(zelva_core_settings_copy_arrayofstring_key);
    CHECK_NULLS(zelva_core_settings_copy_arrayofint_key);
    CHECK_NULLS(zelva_core_settings_copy_arrayofbool_key);
    CHECK_NULLS(zelva_core_settings_copy_arrayofdouble_key);
}

// A copy creates the new key, and the old one stays.
#define CHECK_COPY(copy)                                                                 \
    BOOST_CHECK_EQUAL(0, zelva_core_settings_does_key_exist(newKey.c_str()));            \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, copy(oldKey.c_str(), newKey.c_str())); \
    BOOST_CHECK_EQUAL(1, zelva_core_settings_does_key_exist(newKey.c_str()));            \
    BOOST_CHECK_EQUAL(1, zelva_core_settings_does_key_exist(oldKey.c_str()))

void RenameStringParam() {
    const string oldKey = "key1";
    const string newKey = "new_key1";
    CHECK_COPY(zelva_core_settings_copy_string_key);

    char* oldValue = NULL;
    char* newValue = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(oldKey.c_str(), &oldValue));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(newKey.c_str(), &newValue));
    BOOST_CHECK_EQUAL(string(oldValue), string(newValue));
    free(oldValue);
    free(newValue);
}

void RenameJsonParam() {
    const string oldKey = "key5";
    const string newKey = "new_key5";
    CHECK_COPY(zelva_core_settings_copy_json_key);

    char* oldValue = NULL;
    char* newValue = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value(oldKey.c_str(), &oldValue));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value(newKey.c_str(), &newValue));
    BOOST_CHECK_EQUAL(string(oldValue), string(newValue));
    free(oldValue);
    free(newValue);
}

void RenameIntParam() {
    const string oldKey = "key2";
    const string newKey = "new_key2";
    CHECK_COPY(zelva_core_settings_copy_int_key);

    int oldValue = 0;
    int newValue = 1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value(oldKey.c_str(), &oldValue));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value(newKey.c_str(), &newValue));
    BOOST_CHECK_EQUAL(oldValue, newValue);
}

void RenameBoolParam() {
    const string oldKey = "key3";
    const string newKey = "new_key3";
    CHECK_COPY(zelva_core_settings_copy_bool_key);

    // The value is false, and each begins as the other bool: the comparison does not tell when neither is written.
    bool oldValue = true;
    bool newValue = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value(oldKey.c_str(), &oldValue));
    EXPECT_WRITTEN(oldValue, true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value(newKey.c_str(), &newValue));
    BOOST_CHECK_EQUAL(oldValue, newValue);
}

void RenameDoubleParam() {
    const string oldKey = "key4";
    const string newKey = "new_key4";
    CHECK_COPY(zelva_core_settings_copy_double_key);

    double oldValue = 0.0;
    double newValue = 1.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value(oldKey.c_str(), &oldValue));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value(newKey.c_str(), &newValue));
    BOOST_CHECK_EQUAL(oldValue, newValue);
}

// Three strings and the NULL after them; two NULLs are equal.
void RenameArrayOfStringParam() {
    const string oldKey = "key6";
    const string newKey = "new_key6";
    CHECK_COPY(zelva_core_settings_copy_arrayofstring_key);

    char** oldValues = NULL;
    char** newValues = NULL;
    int oldLength = -1;
    int newLength = -2;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value(oldKey.c_str(), &oldValues, &oldLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value(newKey.c_str(), &newValues, &newLength));
    BOOST_CHECK_EQUAL(oldLength, newLength);
    BOOST_CHECK_EQUAL(oldValues[0], newValues[0]);
    BOOST_CHECK_EQUAL(oldValues[1], newValues[1]);
    BOOST_CHECK_EQUAL(oldValues[2], newValues[2]);
    BOOST_CHECK_EQUAL(oldValues[3], newValues[3]);
    BOOST_CHECK(NULL == oldValues[3]);
    BOOST_CHECK(NULL == newValues[3]);
    zelva_core_free_string_array(oldValues);
    zelva_core_free_string_array(newValues);
}

namespace {

// The other arrays have four elements, and then the NULL.
template <class T>
void checkEqual(T** oldValues, int oldLength, T** newValues, int newLength) {
    BOOST_CHECK_EQUAL(oldLength, newLength);
    BOOST_CHECK_EQUAL(*oldValues[0], *newValues[0]);
    BOOST_CHECK_EQUAL(*oldValues[1], *newValues[1]);
    BOOST_CHECK_EQUAL(*oldValues[2], *newValues[2]);
    BOOST_CHECK_EQUAL(*oldValues[3], *newValues[3]);
    BOOST_CHECK(NULL == oldValues[4]);
    BOOST_CHECK(NULL == newValues[4]);
}

}  // namespace

void RenameArrayOfIntParam() {
    const string oldKey = "key7";
    const string newKey = "new_key7";
    CHECK_COPY(zelva_core_settings_copy_arrayofint_key);

    int** oldValues = NULL;
    int** newValues = NULL;
    int oldLength = -1;
    int newLength = -2;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value(oldKey.c_str(), &oldValues, &oldLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value(newKey.c_str(), &newValues, &newLength));
    checkEqual(oldValues, oldLength, newValues, newLength);
    zelva_core_free_int_array(oldValues);
    zelva_core_free_int_array(newValues);
}

void RenameArrayOfBoolParam() {
    const string oldKey = "key8";
    const string newKey = "new_key8";
    CHECK_COPY(zelva_core_settings_copy_arrayofbool_key);

    bool** oldValues = NULL;
    bool** newValues = NULL;
    int oldLength = -1;
    int newLength = -2;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value(oldKey.c_str(), &oldValues, &oldLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value(newKey.c_str(), &newValues, &newLength));
    checkEqual(oldValues, oldLength, newValues, newLength);
    zelva_core_free_bool_array(oldValues);
    zelva_core_free_bool_array(newValues);
}

void RenameArrayOfDoubleParam() {
    const string oldKey = "key9";
    const string newKey = "new_key9";
    CHECK_COPY(zelva_core_settings_copy_arrayofdouble_key);

    double** oldValues = NULL;
    double** newValues = NULL;
    int oldLength = -1;
    int newLength = -2;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value(oldKey.c_str(), &oldValues, &oldLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value(newKey.c_str(), &newValues, &newLength));
    checkEqual(oldValues, oldLength, newValues, newLength);
    zelva_core_free_double_array(oldValues);
    zelva_core_free_double_array(newValues);
}

}  // namespace cases::testRename
