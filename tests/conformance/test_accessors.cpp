// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// The accessors for standard strings and vectors, by themselves and together with the C functions.
#include <string.h>
#include <zelva/accessors.hpp>
#include <zelva/settings.h>

#include <cstdlib>
#include <vector>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using namespace zelva::core;
using std::string;

// On a key that is not there at first: a set-default creates it, and a set after that leaves the default alone.
namespace cases::testCplusplusAccessors {

void getSetString() {
    string val;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDefaultString("fred", string("foo")));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetString("fred", val));
    BOOST_CHECK_EQUAL("foo", val);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetString("fred", string("bar")));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetString("fred", val));
    BOOST_CHECK_EQUAL("bar", val);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDefaultString("fred", val));
    BOOST_CHECK_EQUAL("foo", val);
}

// The vector is used again, so that a get has to shorten it.
void getSetStringVector() {
    const std::vector<string> defaults = {"one", "two", "three", "four", "five"};
    const std::vector<string> settings = {"six", "seven", "eight"};
    std::vector<string> val;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDefaultStringVector("fred", defaults));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetStringVector("fred", val));
    BOOST_CHECK_EQUAL(defaults.size(), val.size());
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        BOOST_CHECK_EQUAL(defaults[i], val[i]);
    }

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetStringVector("fred", settings));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetStringVector("fred", val));
    BOOST_CHECK_EQUAL(settings.size(), val.size());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        BOOST_CHECK_EQUAL(settings[i], val[i]);
    }

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDefaultStringVector("fred", val));
    BOOST_CHECK_EQUAL(defaults.size(), val.size());
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        BOOST_CHECK_EQUAL(defaults[i], val[i]);
    }
}

void getSetIntVector() {
    const std::vector<int> defaults = {1, 2, 3, 4, 5};
    const std::vector<int> settings = {6, 7, 8};
    std::vector<int> val;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDefaultIntVector("fred", defaults));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("fred", val));
    BOOST_CHECK_EQUAL(defaults.size(), val.size());
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        BOOST_CHECK_EQUAL(defaults[i], val[i]);
    }

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetIntVector("fred", settings));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("fred", val));
    BOOST_CHECK_EQUAL(settings.size(), val.size());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        BOOST_CHECK_EQUAL(settings[i], val[i]);
    }

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDefaultIntVector("fred", val));
    BOOST_CHECK_EQUAL(defaults.size(), val.size());
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        BOOST_CHECK_EQUAL(defaults[i], val[i]);
    }
}

void getSetBool() {
    bool val = false;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDefaultBool("fred", true));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBool("fred", val));
    BOOST_CHECK_EQUAL(true, val);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetBool("fred", false));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBool("fred", val));
    BOOST_CHECK_EQUAL(false, val);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDefaultBool("fred", val));
    BOOST_CHECK_EQUAL(true, val);
}

void getSetJson() {
    string val;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDefaultJson("fred", "{\n\t\"foo\":null\n}\n"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetJson("fred", val));
    EXPECT_WRITTEN(val, "");

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetJson("fred", "{\"bar\":42,\"foo\":\"baz\"}"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetJson("fred", val));
    BOOST_CHECK_EQUAL("{ \"bar\" : 42, \"foo\" : \"baz\" }", val);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDefaultJson("fred", val));
    BOOST_CHECK_EQUAL("{ \"foo\" : null }", val);
}

}  // namespace cases::testCplusplusAccessors

// Value arrays and vectors are two views of the same stored arrays.
namespace cases::testVectorInterop {

void GetArrayEqualsGetVector() {
    int arrayLength = 0;

    char** strArray = NULL;
    std::vector<string> stringVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &strArray, &arrayLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetStringVector("key6", stringVect));
    BOOST_CHECK_EQUAL(arrayLength, 3);
    BOOST_CHECK_EQUAL(static_cast<int>(stringVect.size()), 3);
    BOOST_CHECK_EQUAL(strArray[0], stringVect[0]);
    BOOST_CHECK_EQUAL(strArray[1], stringVect[1]);
    BOOST_CHECK_EQUAL(strArray[2], stringVect[2]);
    BOOST_CHECK(strArray[3] == NULL);
    zelva_core_free_string_array(strArray);

    int** intArray = NULL;
    std::vector<int> intVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &intArray, &arrayLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("key7", intVect));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(static_cast<int>(intVect.size()), 4);
    BOOST_CHECK_EQUAL(*intArray[0], intVect[0]);
    BOOST_CHECK_EQUAL(*intArray[1], intVect[1]);
    BOOST_CHECK_EQUAL(*intArray[2], intVect[2]);
    BOOST_CHECK_EQUAL(*intArray[3], intVect[3]);
    BOOST_CHECK(intArray[4] == NULL);
    zelva_core_free_int_array(intArray);

    bool** boolArray = NULL;
    std::vector<bool> boolVect;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &boolArray, &arrayLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBoolVector("key8", boolVect));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(static_cast<int>(boolVect.size()), 4);
    BOOST_CHECK_EQUAL(*boolArray[0], boolVect[0]);
    BOOST_CHECK_EQUAL(*boolArray[1], boolVect[1]);
    BOOST_CHECK_EQUAL(*boolArray[2], boolVect[2]);
    BOOST_CHECK_EQUAL(*boolArray[3], boolVect[3]);
    BOOST_CHECK(boolArray[4] == NULL);
    zelva_core_free_bool_array(boolArray);

    double** dblArray = NULL;
    std::vector<double> dblVect;
    arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &dblArray, &arrayLength));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDoubleVector("key9", dblVect));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(static_cast<int>(dblVect.size()), 4);
    BOOST_CHECK_EQUAL(*dblArray[0], dblVect[0]);
    BOOST_CHECK_EQUAL(*dblArray[1], dblVect[1]);
    BOOST_CHECK_EQUAL(*dblArray[2], dblVect[2]);
    BOOST_CHECK_EQUAL(*dblArray[3], dblVect[3]);
    BOOST_CHECK(dblArray[4] == NULL);
    zelva_core_free_double_array(dblArray);
}

void SetArrayGetVector() {
    // No check looks at it.
    int arraySize = -1;

    char** stringArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &stringArray, &arraySize));
    EXPECT_WRITTEN(arraySize, -1);
    free(stringArray[1]);
    stringArray[1] = strdup("not two anymore");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofstring_value("key6", stringArray));
    zelva_core_free_string_array(stringArray);
    std::vector<string> stringVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetStringVector("key6", stringVect));
    BOOST_CHECK_EQUAL(static_cast<int>(stringVect.size()), 3);
    BOOST_CHECK_EQUAL(stringVect[0], "one");
    BOOST_CHECK_EQUAL(stringVect[1], "not two anymore");
    BOOST_CHECK_EQUAL(stringVect[2], "three");

    int** intArray = NULL;
    arraySize = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &intArray, &arraySize));
    EXPECT_WRITTEN(arraySize, -1);
    *intArray[1] = 19;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofint_value("key7", intArray));
    zelva_core_free_int_array(intArray);
    std::vector<int> intVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("key7", intVect));
    BOOST_CHECK_EQUAL(static_cast<int>(intVect.size()), 4);
    BOOST_CHECK_EQUAL(intVect[0], 1);
    BOOST_CHECK_EQUAL(intVect[1], 19);
    BOOST_CHECK_EQUAL(intVect[2], 3);
    BOOST_CHECK_EQUAL(intVect[3], 4);

    bool** boolArray = NULL;
    arraySize = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &boolArray, &arraySize));
    EXPECT_WRITTEN(arraySize, -1);
    *boolArray[0] = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofbool_value("key8", boolArray));
    zelva_core_free_bool_array(boolArray);
    std::vector<bool> boolVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBoolVector("key8", boolVect));
    BOOST_CHECK_EQUAL(static_cast<int>(boolVect.size()), 4);
    BOOST_CHECK_EQUAL(boolVect[0], false);
    BOOST_CHECK_EQUAL(boolVect[1], true);
    BOOST_CHECK_EQUAL(boolVect[2], false);
    BOOST_CHECK_EQUAL(boolVect[3], true);

    double** dblArray = NULL;
    arraySize = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &dblArray, &arraySize));
    EXPECT_WRITTEN(arraySize, -1);
    *dblArray[0] = 8.3;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofdouble_value("key9", dblArray));
    zelva_core_free_double_array(dblArray);
    std::vector<double> dblVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDoubleVector("key9", dblVect));
    BOOST_CHECK_EQUAL(static_cast<int>(dblVect.size()), 4);
    BOOST_CHECK_EQUAL(dblVect[0], 8.3);
    BOOST_CHECK_EQUAL(dblVect[1], 4.11);
    BOOST_CHECK_EQUAL(dblVect[2], 101.7);
    BOOST_CHECK_EQUAL(dblVect[3], 0.25);
}

void SetVectorGetArray() {
    int arraySize = 0;

    std::vector<string> stringVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetStringVector("key6", stringVect));
    BOOST_CHECK_EQUAL(static_cast<int>(stringVect.size()), 3);
    BOOST_CHECK_EQUAL(stringVect[0], "one");
    BOOST_CHECK_EQUAL(stringVect[1], "two");
    BOOST_CHECK_EQUAL(stringVect[2], "three");
    stringVect[2] = "twenty-two";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetStringVector("key6", stringVect));
    char** stringArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &stringArray, &arraySize));
    BOOST_CHECK_EQUAL(arraySize, 3);
    BOOST_CHECK_EQUAL(stringArray[0], "one");
    BOOST_CHECK_EQUAL(stringArray[1], "two");
    BOOST_CHECK_EQUAL(stringArray[2], "twenty-two");
    zelva_core_free_string_array(stringArray);

    std::vector<int> intVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("key7", intVect));
    BOOST_CHECK_EQUAL(static_cast<int>(intVect.size()), 4);
    BOOST_CHECK_EQUAL(intVect[0], 1);
    BOOST_CHECK_EQUAL(intVect[1], 2);
    BOOST_CHECK_EQUAL(intVect[2], 3);
    BOOST_CHECK_EQUAL(intVect[3], 4);
    intVect[2] = 23;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetIntVector("key7", intVect));
    int** intArray = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &intArray, &arraySize));
    BOOST_CHECK_EQUAL(arraySize, 4);
    BOOST_CHECK_EQUAL(*intArray[0], 1);
    BOOST_CHECK_EQUAL(*intArray[1], 2);
    BOOST_CHECK_EQUAL(*intArray[2], 23);
    BOOST_CHECK_EQUAL(*intArray[3], 4);
    zelva_core_free_int_array(intArray);

    std::vector<bool> boolVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBoolVector("key8", boolVect));
    BOOST_CHECK_EQUAL(static_cast<int>(boolVect.size()), 4);
    BOOST_CHECK_EQUAL(boolVect[0], true);
    BOOST_CHECK_EQUAL(boolVect[1], true);
    BOOST_CHECK_EQUAL(boolVect[2], false);
    BOOST_CHECK_EQUAL(boolVect[3], true);
    boolVect[1] = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetBoolVector("key8", boolVect));
    bool** boolArray = NULL;
    arraySize = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &boolArray, &arraySize));
    BOOST_CHECK_EQUAL(arraySize, 4);
    BOOST_CHECK_EQUAL(*boolArray[0], true);
    BOOST_CHECK_EQUAL(*boolArray[1], false);
    BOOST_CHECK_EQUAL(*boolArray[2], false);
    BOOST_CHECK_EQUAL(*boolArray[3], true);
    zelva_core_free_bool_array(boolArray);

    std::vector<double> dblVect;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDoubleVector("key9", dblVect));
    BOOST_CHECK_EQUAL(static_cast<int>(dblVect.size()), 4);
    BOOST_CHECK_EQUAL(dblVect[0], 3.023);
    BOOST_CHECK_EQUAL(dblVect[1], 4.11);
    BOOST_CHECK_EQUAL(dblVect[2], 101.7);
    BOOST_CHECK_EQUAL(dblVect[3], 0.25);
    dblVect[1] = 17.3;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsSetDoubleVector("key9", dblVect));
    double** dblArray = NULL;
    arraySize = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &dblArray, &arraySize));
    BOOST_CHECK_EQUAL(arraySize, 4);
    BOOST_CHECK_EQUAL(*dblArray[0], 3.023);
    BOOST_CHECK_EQUAL(*dblArray[1], 17.3);
    BOOST_CHECK_EQUAL(*dblArray[2], 101.7);
    BOOST_CHECK_EQUAL(*dblArray[3], 0.25);
    zelva_core_free_double_array(dblArray);
}

}  // namespace cases::testVectorInterop
