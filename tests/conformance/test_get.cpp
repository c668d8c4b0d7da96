// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Reading the settings store and the configuration store, whose gets follow the same rules.
#include <zelva/accessors.hpp>
#include <zelva/configuration.h>
#include <zelva/settings.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using namespace zelva::core;
using std::string;

namespace cases::testGet {

void getPass() {
    char* val = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key1", &val));
    BOOST_CHECK_EQUAL(string(val), string("one"));
    freeAndReset(val);

    int x = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("key2", &x));
    BOOST_CHECK_EQUAL(x, 2);

    bool bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 0);

    double d = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("key4", &d));
    BOOST_CHECK_EQUAL(d, 3.023);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key5", &val));
    BOOST_CHECK_EQUAL(string(val), string("{ \"top\" : { \"title\" : \"ex glossary\" } }"));
    freeAndReset(val);

    int arrayLength = 0;
    char** strArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &strArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 3);
    BOOST_CHECK_EQUAL(strArray[0], "one");
    BOOST_CHECK_EQUAL(strArray[1], "two");
    BOOST_CHECK_EQUAL(strArray[2], "three");
    BOOST_CHECK(strArray[3] == NULL);
    freeAndReset(strArray);

    int** intArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &intArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*intArray[0], 1);
    BOOST_CHECK_EQUAL(*intArray[1], 2);
    BOOST_CHECK_EQUAL(*intArray[2], 3);
    BOOST_CHECK_EQUAL(*intArray[3], 4);
    BOOST_CHECK(intArray[4] == NULL);
    freeAndReset(intArray);

    bool** boolArray = NULL;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &boolArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*boolArray[0], true);
    BOOST_CHECK_EQUAL(*boolArray[1], true);
    BOOST_CHECK_EQUAL(*boolArray[2], false);
    BOOST_CHECK_EQUAL(*boolArray[3], true);
    BOOST_CHECK(boolArray[4] == NULL);
    freeAndReset(boolArray);

    double** dblArray = NULL;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &dblArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*dblArray[0], 3.023);
    BOOST_CHECK_EQUAL(*dblArray[1], 4.11);
    BOOST_CHECK_EQUAL(*dblArray[2], 101.7);
    BOOST_CHECK_EQUAL(*dblArray[3], 0.25);
    BOOST_CHECK(dblArray[4] == NULL);
    freeAndReset(dblArray);
}

// Every pointer but that of the length must be given.
void getNulls() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_string_value(NULL, &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_string_value("key1", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_int_value(NULL, &x));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_int_value("key2", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_bool_value(NULL, &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_bool_value("key3", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_double_value(NULL, &d));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_double_value("key4", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_json_value(NULL, &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_json_value("key5", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofstring_value(NULL, &strArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofstring_value("key6", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofint_value(NULL, &intArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofint_value("key7", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofbool_value(NULL, &boolArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofbool_value("key8", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofdouble_value(NULL, &dblArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofdouble_value("key9", NULL, NULL));
}

#define CHECK_WRONG_TYPE(key, get, ...) \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, get(key, __VA_ARGS__))

// No get reads a key of another type: neither string and JSON for each other, nor an array as one of its elements.
void getWrongType() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;
    std::vector<string> stringVect;
    std::vector<int> intVect;
    std::vector<bool> boolVect;
    std::vector<double> dblVect;

    FOR_KEYS_BUT(key1, CHECK_WRONG_TYPE, zelva_core_settings_get_string_value, &val);
    FOR_KEYS_BUT(key2, CHECK_WRONG_TYPE, zelva_core_settings_get_int_value, &x);
    FOR_KEYS_BUT(key3, CHECK_WRONG_TYPE, zelva_core_settings_get_bool_value, &bval);
    FOR_KEYS_BUT(key4, CHECK_WRONG_TYPE, zelva_core_settings_get_double_value, &d);
    FOR_KEYS_BUT(key5, CHECK_WRONG_TYPE, zelva_core_settings_get_json_value, &val);
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, zelva_core_settings_get_arrayofstring_value, &strArray, NULL);
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, settingsGetStringVector, stringVect);
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, zelva_core_settings_get_arrayofint_value, &intArray, NULL);
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, settingsGetIntVector, intVect);
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, zelva_core_settings_get_arrayofbool_value, &boolArray, NULL);
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, settingsGetBoolVector, boolVect);
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, zelva_core_settings_get_arrayofdouble_value, &dblArray, NULL);
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, settingsGetDoubleVector, dblVect);
}

void getInvalidKey() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_string_value("fred", &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_json_value("fred", &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_int_value("fred", &x));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_bool_value("fred", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_double_value("fred", &d));

    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofstring_value("fred", &strArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofint_value("fred", &intArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofbool_value("fred", &boolArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofdouble_value("fred", &dblArray, NULL));

    std::vector<string> stringVect;
    std::vector<int> intVect;
    std::vector<bool> boolVect;
    std::vector<double> dblVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetStringVector("fred", stringVect));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetIntVector("fred", intVect));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetBoolVector("fred", boolVect));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetDoubleVector("fred", dblVect));

    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("fred"), false);
}

// key1 and key10, in either order; and when no key matches, a list that is empty, not NULL.
void getKeysStartingWith() {
    char** keyList = zelva_core_settings_get_keys_starting_with("key1");
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] == NULL);
    BOOST_CHECK(!strncmp(keyList[0], "key1", strlen("key1")));
    BOOST_CHECK(!strncmp(keyList[1], "key1", strlen("key1")));
    zelva_core_free_string_array(keyList);

    keyList = zelva_core_settings_get_keys_starting_with("varlo");
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[0] == NULL);
    zelva_core_free_string_array(keyList);
}

}  // namespace cases::testGet

namespace cases::testConfigGet {

void getPass() {
    char* val = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_string_value("key1", &val));
    BOOST_CHECK_EQUAL(string(val), string("one"));
    freeAndReset(val);

    int x = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_int_value("key2", &x));
    BOOST_CHECK_EQUAL(x, 2);

    bool bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 0);

    double d = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_double_value("key4", &d));
    BOOST_CHECK_EQUAL(d, 3.023);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_json_value("key5", &val));
    BOOST_CHECK_EQUAL(string(val), string("{ \"top\" : { \"title\" : \"ex glossary\" } }"));
    freeAndReset(val);

    // Each array comes as a value array and as a vector.
    int arrayLength = 0;
    int vectSize = 0;

    char** strArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_arrayofstring_value("key6", &strArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 3);
    BOOST_CHECK_EQUAL(strArray[0], "one");
    BOOST_CHECK_EQUAL(strArray[1], "two");
    BOOST_CHECK_EQUAL(strArray[2], "three");
    BOOST_CHECK(strArray[3] == NULL);
    freeAndReset(strArray);

    std::vector<string> strVect;
    BOOST_CHECK_EQUAL(configurationGetStringVector("key6", strVect), true);
    vectSize = static_cast<int>(strVect.size());
    BOOST_CHECK_EQUAL(vectSize, 3);
    BOOST_CHECK_EQUAL(strVect[0], "one");
    BOOST_CHECK_EQUAL(strVect[1], "two");
    BOOST_CHECK_EQUAL(strVect[2], "three");

    int** intArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_arrayofint_value("key7", &intArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*intArray[0], 1);
    BOOST_CHECK_EQUAL(*intArray[1], 2);
    BOOST_CHECK_EQUAL(*intArray[2], 3);
    BOOST_CHECK_EQUAL(*intArray[3], 4);
    BOOST_CHECK(intArray[4] == NULL);
    freeAndReset(intArray);

    std::vector<int> intVect;
    BOOST_CHECK_EQUAL(configurationGetIntVector("key7", intVect), true);
    vectSize = static_cast<int>(intVect.size());
    BOOST_CHECK_EQUAL(vectSize, 4);
    BOOST_CHECK_EQUAL(intVect[0], 1);
    BOOST_CHECK_EQUAL(intVect[1], 2);
    BOOST_CHECK_EQUAL(intVect[2], 3);
    BOOST_CHECK_EQUAL(intVect[3], 4);

    bool** boolArray = NULL;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_arrayofbool_value("key8", &boolArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*boolArray[0], true);
    BOOST_CHECK_EQUAL(*boolArray[1], true);
    BOOST_CHECK_EQUAL(*boolArray[2], false);
    BOOST_CHECK_EQUAL(*boolArray[3], true);
    BOOST_CHECK(boolArray[4] == NULL);
    freeAndReset(boolArray);

    std::vector<bool> boolVect;
    BOOST_CHECK_EQUAL(configurationGetBoolVector("key8", boolVect), true);
    vectSize = static_cast<int>(boolVect.size());
    BOOST_CHECK_EQUAL(vectSize, 4);
    BOOST_CHECK_EQUAL(boolVect[0], true);
    BOOST_CHECK_EQUAL(boolVect[1], true);
    BOOST_CHECK_EQUAL(boolVect[2], false);
    BOOST_CHECK_EQUAL(boolVect[3], true);

    double** dblArray = NULL;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_get_arrayofdouble_value("key9", &dblArray, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(*dblArray[0], 3.023);
    BOOST_CHECK_EQUAL(*dblArray[1], 4.11);
    BOOST_CHECK_EQUAL(*dblArray[2], 101.7);
    BOOST_CHECK_EQUAL(*dblArray[3], 0.25);
    BOOST_CHECK(dblArray[4] == NULL);
    freeAndReset(dblArray);

    std::vector<double> dblVect;
    BOOST_CHECK_EQUAL(configurationGetDoubleVector("key9", dblVect), true);
    vectSize = static_cast<int>(dblVect.size());
    BOOST_CHECK_EQUAL(vectSize, 4);
    BOOST_CHECK_EQUAL(dblVect[0], 3.023);
    BOOST_CHECK_EQUAL(dblVect[1], 4.11);
    BOOST_CHECK_EQUAL(dblVect[2], 101.7);
    BOOST_CHECK_EQUAL(dblVect[3], 0.25);
}

// A NULL is found before the key is looked up: there is no key10.
void getNulls() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_string_value(NULL, &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_string_value("key1", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_json_value(NULL, &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_json_value("key10", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_int_value(NULL, &x));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_int_value("key2", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_bool_value(NULL, &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_bool_value("key3", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_double_value(NULL, &d));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_double_value("key4", NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofstring_value(NULL, &strArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofstring_value("key6", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofint_value(NULL, &intArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofint_value("key7", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofbool_value(NULL, &boolArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofbool_value("key8", NULL, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofdouble_value(NULL, &dblArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_get_arrayofdouble_value("key9", NULL, NULL));
}

// The accessors of this store tell success, not a status.
#define CHECK_NO_VECTOR(key, get, vector) BOOST_CHECK_EQUAL(get(key, vector), false)

void getWrongType() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;
    std::vector<string> stringVect;
    std::vector<int> intVect;
    std::vector<bool> boolVect;
    std::vector<double> dblVect;

    FOR_KEYS_BUT(key1, CHECK_WRONG_TYPE, zelva_core_configuration_get_string_value, &val);
    FOR_KEYS_BUT(key2, CHECK_WRONG_TYPE, zelva_core_configuration_get_int_value, &x);
    FOR_KEYS_BUT(key3, CHECK_WRONG_TYPE, zelva_core_configuration_get_bool_value, &bval);
    FOR_KEYS_BUT(key4, CHECK_WRONG_TYPE, zelva_core_configuration_get_double_value, &d);
    FOR_KEYS_BUT(key5, CHECK_WRONG_TYPE, zelva_core_configuration_get_json_value, &val);
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, zelva_core_configuration_get_arrayofstring_value, &strArray, NULL);
    FOR_KEYS_BUT(key6, CHECK_NO_VECTOR, configurationGetStringVector, stringVect);
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, zelva_core_configuration_get_arrayofint_value, &intArray, NULL);
    FOR_KEYS_BUT(key7, CHECK_NO_VECTOR, configurationGetIntVector, intVect);
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, zelva_core_configuration_get_arrayofbool_value, &boolArray, NULL);
    FOR_KEYS_BUT(key8, CHECK_NO_VECTOR, configurationGetBoolVector, boolVect);
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, zelva_core_configuration_get_arrayofdouble_value, &dblArray, NULL);
    FOR_KEYS_BUT(key9, CHECK_NO_VECTOR, configurationGetDoubleVector, dblVect);
}

void getInvalidKey() {
    char* val = NULL;
    int x = 0;
    bool bval = false;
    double d = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_string_value("fred", &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_json_value("fred", &val));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_int_value("fred", &x));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_bool_value("fred", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_double_value("fred", &d));

    char** strArray = NULL;
    int** intArray = NULL;
    bool** boolArray = NULL;
    double** dblArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_arrayofstring_value("fred", &strArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_arrayofint_value("fred", &intArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_arrayofbool_value("fred", &boolArray, NULL));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_configuration_get_arrayofdouble_value("fred", &dblArray, NULL));

    BOOST_CHECK_EQUAL(zelva_core_configuration_does_key_exist("fred"), false);
}

}  // namespace cases::testConfigGet
