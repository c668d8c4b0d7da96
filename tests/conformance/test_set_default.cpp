// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Defaults, from an empty store upwards: the first write of a key, of its value or of its default, gives it both; from
// then on neither changes the other. Defaults are kept under names of their own, which the caller cannot use.
#include <zelva/accessors.hpp>
#include <zelva/settings.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using namespace zelva::core;
using std::string;

namespace cases::testSetDefault {

void getNonexisting() {
    char* sval = NULL;
    char* jval = NULL;
    int ival = 0;
    bool bval = false;
    double dval = 0.0;
    char** asval = NULL;
    int** aival = NULL;
    bool** abval = NULL;
    double** adval = NULL;
    std::vector<string> stringVect;
    std::vector<int> intVect;
    std::vector<bool> boolVect;
    std::vector<double> dblVect;
    int vectSize = 0;

    // Nothing is there before it is written.
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_string_value("key1", &sval));

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key2"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_int_value("key2", &ival));

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key3"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_bool_value("key3", &bval));

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key4"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_double_value("key4", &dval));

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key5"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_json_value("key5", &sval));

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key6"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK(asval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetStringVector("key6", stringVect));
    BOOST_CHECK(stringVect.size() == 0);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key7"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK(aival == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetIntVector("key7", intVect));
    BOOST_CHECK(intVect.size() == 0);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key8"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK(abval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetBoolVector("key8", boolVect));
    BOOST_CHECK(boolVect.size() == 0);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key9"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK(adval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, settingsGetDoubleVector("key9", dblVect));
    BOOST_CHECK(dblVect.size() == 0);

    // The first set of a key is its default as well; the default has no value or default of its own.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_string_value("DEFAULT_key1", "value2"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value("key1", "value2"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value2"));
    freeAndReset(sval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value2"));
    freeAndReset(sval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_string_value("DEFAULT_key1", &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_string_value("DEFAULT_key1", "value3"));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_int_value("DEFAULT_key2", 13));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key2"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_int_value("key2", 13));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key2"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, 13);
    ival = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, 13);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_int_value("DEFAULT_key2", &ival));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_int_value("DEFAULT_key2", 15));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_bool_value("DEFAULT_key3", 0));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key3"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_bool_value("key3", 0));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key3"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), true);
    bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 0);
    bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_bool_value("DEFAULT_key3", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_bool_value("DEFAULT_key3", 1));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_double_value("DEFAULT_key4", 6.28));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key4"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_double_value("key4", 6.28));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key4"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 6.28);
    dval = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 6.28);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_double_value("DEFAULT_key4", &dval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_double_value("DEFAULT_key4", 7.28));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_json_value("DEFAULT_key5", "{ \"a\" : \"b\" }"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key5"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_json_value("key5", "{ \"a\" : \"b\" }"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key5"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"a\" : \"b\" }"));
    freeAndReset(jval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"a\" : \"b\" }"));
    freeAndReset(jval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_json_value("DEFAULT_key5", &jval));
    BOOST_CHECK(jval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_json_value("DEFAULT_key5", "{ \"c\" : \"d\" }"));

    asval = newStrings({"four", "five"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofstring_value("DEFAULT_key6", asval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key6"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofstring_value("key6", asval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key6"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), true);
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK_EQUAL(strcmp(asval[0], "four"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[1], "five"), 0);
    BOOST_CHECK(asval[2] == NULL);
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK_EQUAL(strcmp(asval[0], "four"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[1], "five"), 0);
    BOOST_CHECK(asval[2] == NULL);
    freeAndReset(asval);

    aival = newInts({30, -10000, -42});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofint_value("DEFAULT_key7", aival));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key7"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofint_value("key7", aival));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key7"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), true);
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK_EQUAL(*(aival[0]), 30);
    BOOST_CHECK_EQUAL(*(aival[1]), -10000);
    BOOST_CHECK_EQUAL(*(aival[2]), -42);
    BOOST_CHECK(aival[3] == NULL);
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK_EQUAL(*(aival[0]), 30);
    BOOST_CHECK_EQUAL(*(aival[1]), -10000);
    BOOST_CHECK_EQUAL(*(aival[2]), -42);
    BOOST_CHECK(aival[3] == NULL);
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetIntVector("key7", intVect));
    vectSize = static_cast<int>(intVect.size());
    BOOST_CHECK_EQUAL(intVect[0], 30);
    BOOST_CHECK_EQUAL(intVect[1], -10000);
    BOOST_CHECK_EQUAL(intVect[2], -42);
    BOOST_CHECK_EQUAL(vectSize, 3);

    abval = newBools({true, false, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofbool_value("DEFAULT_key8", abval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key8"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofbool_value("key8", abval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key8"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), true);
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK_EQUAL(*(abval[0]), true);
    BOOST_CHECK_EQUAL(*(abval[1]), false);
    BOOST_CHECK_EQUAL(*(abval[2]), false);
    BOOST_CHECK(abval[3] == NULL);
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK_EQUAL(*(abval[0]), true);
    BOOST_CHECK_EQUAL(*(abval[1]), false);
    BOOST_CHECK_EQUAL(*(abval[2]), false);
    BOOST_CHECK(abval[3] == NULL);
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetBoolVector("key8", boolVect));
    vectSize = static_cast<int>(boolVect.size());
    BOOST_CHECK_EQUAL(boolVect[0], true);
    BOOST_CHECK_EQUAL(boolVect[1], false);
    BOOST_CHECK_EQUAL(boolVect[2], false);
    BOOST_CHECK_EQUAL(vectSize, 3);

    adval = newDoubles({-2.0, 20.0});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofdouble_value("DEFAULT_key9", adval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key9"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofdouble_value("key9", adval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key9"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), true);
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK_EQUAL(*(adval[0]), -2.0);
    BOOST_CHECK_EQUAL(*(adval[1]), 20.0);
    BOOST_CHECK(adval[2] == NULL);
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK_EQUAL(*(adval[0]), -2.0);
    BOOST_CHECK_EQUAL(*(adval[1]), 20.0);
    BOOST_CHECK(adval[2] == NULL);
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, settingsGetDoubleVector("key9", dblVect));
    vectSize = static_cast<int>(dblVect.size());
    BOOST_CHECK_EQUAL(dblVect[0], -2.0);
    BOOST_CHECK_EQUAL(dblVect[1], 20.0);
    BOOST_CHECK_EQUAL(vectSize, 2);
}

namespace {

// The stages that setDefault comes to more than once. The values differ from the defaults in every type.

void checkValuesThatWereSet() {
    char* sval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value2"));
    freeAndReset(sval);

    int ival = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, 13);

    bool bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 0);

    double dval = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 6.28);

    // In canonical form, not as it was written.
    char* jval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"c\" : \"d\" }"));
    freeAndReset(jval);

    char** asval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK_EQUAL(strcmp(asval[0], "four"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[1], "five"), 0);
    BOOST_CHECK(asval[2] == NULL);
    freeAndReset(asval);

    int** aival = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK_EQUAL(*aival[0], 30);
    BOOST_CHECK_EQUAL(*aival[1], -10000);
    BOOST_CHECK_EQUAL(*aival[2], -42);
    BOOST_CHECK(aival[3] == NULL);
    freeAndReset(aival);

    bool** abval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK_EQUAL(*abval[0], true);
    BOOST_CHECK_EQUAL(*abval[1], false);
    BOOST_CHECK_EQUAL(*abval[2], false);
    BOOST_CHECK(abval[3] == NULL);
    freeAndReset(abval);

    double** adval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK_EQUAL(*adval[0], -2.0);
    BOOST_CHECK_EQUAL(*adval[1], 20.0);
    BOOST_CHECK(adval[2] == NULL);
    freeAndReset(adval);
}

void checkDefaults() {
    char* sval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value1"));
    freeAndReset(sval);

    int ival = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, -13);

    bool bval = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 1);

    double dval = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 3.0);

    char* jval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"a\" : \"b\" }"));
    freeAndReset(jval);

    char** asval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK_EQUAL(strcmp(asval[0], "one"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[1], "two"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[2], "three"), 0);
    BOOST_CHECK(asval[3] == NULL);
    freeAndReset(asval);

    int** aival = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK_EQUAL(*aival[0], -30);
    BOOST_CHECK_EQUAL(*aival[1], 10000);
    BOOST_CHECK_EQUAL(*aival[2], 42);
    BOOST_CHECK_EQUAL(*aival[3], 10);
    BOOST_CHECK(aival[4] == NULL);
    freeAndReset(aival);

    bool** abval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK_EQUAL(*abval[0], true);
    BOOST_CHECK_EQUAL(*abval[1], false);
    BOOST_CHECK(abval[2] == NULL);
    freeAndReset(abval);

    double** adval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK_EQUAL(*adval[0], 2.0);
    BOOST_CHECK_EQUAL(*adval[1], 0.0);
    BOOST_CHECK_EQUAL(*adval[2], -45.325);
    BOOST_CHECK(adval[3] == NULL);
    freeAndReset(adval);
}

}  // namespace

void setDefault() {
    char* sval = NULL;
    char* jval = NULL;
    int ival = 0;
    bool bval = false;
    double dval = 0.0;
    char** asval = NULL;
    int** aival = NULL;
    bool** abval = NULL;
    double** adval = NULL;
    int arrayLength = 0;

    // No key has a default yet.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_string_value("key1", &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_json_value("key5", &jval));
    BOOST_CHECK(jval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_arrayofstring_value( "key6", &asval, NULL));
    BOOST_CHECK(asval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_arrayofint_value( "key7", &aival, NULL));
    BOOST_CHECK(aival == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_arrayofbool_value( "key8", &abval, NULL));
    BOOST_CHECK(abval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_default_arrayofdouble_value( "key9", &adval, NULL));
    BOOST_CHECK(adval == NULL);

    // The names of defaults are refused, not looked up.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_string_value( "DEFAULT_key1", &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_int_value( "DEFAULT_key2", &ival));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_bool_value( "DEFAULT_key3", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_double_value( "DEFAULT_key4", &dval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_json_value( "DEFAULT_key5", &jval));
    BOOST_CHECK(jval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_arrayofstring_value( "DEFAULT_key6", &asval, NULL));
    BOOST_CHECK(asval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_arrayofint_value( "DEFAULT_key7", &aival, NULL));
    BOOST_CHECK(aival == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_arrayofbool_value( "DEFAULT_key8", &abval, NULL));
    BOOST_CHECK(abval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_default_arrayofdouble_value( "DEFAULT_key9", &adval, NULL));
    BOOST_CHECK(adval == NULL);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_string_value("DEFAULT_key1", "value1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_int_value("DEFAULT_key2", -13));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_bool_value("DEFAULT_key3", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_double_value("DEFAULT_key4", 3.0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_json_value("DEFAULT_key5", "{ \"a\" : \"b\" }"));

    // The first set-default of a key puts its value and its default into the file.
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value("key1", "value1"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value1"));
    freeAndReset(sval);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key2"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_int_value("key2", -13));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key2"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, -13);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key3"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_bool_value("key3", 1));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key3"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 1);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key4"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_double_value("key4", 3.0));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key4"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 3.0);

    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key5"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_json_value("key5", "{ \"a\" : \"b\" }"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key5"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"a\" : \"b\" }"));
    freeAndReset(jval);

    asval = newStrings({"one", "two", "three"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofstring_value("DEFAULT_key6", asval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key6"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofstring_value("key6", asval));
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key6"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofstring_value("key6", &asval, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 3);
    BOOST_REQUIRE(asval != NULL);
    BOOST_REQUIRE(asval[0] != NULL);
    BOOST_REQUIRE(asval[1] != NULL);
    BOOST_REQUIRE(asval[2] != NULL);
    BOOST_CHECK_EQUAL(string(asval[0]), "one");
    BOOST_CHECK_EQUAL(string(asval[1]), "two");
    BOOST_CHECK_EQUAL(string(asval[2]), "three");
    BOOST_CHECK(asval[3] == NULL);
    freeAndReset(asval);

    aival = newInts({-30, 10000, 42, 10});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofint_value("DEFAULT_key7", aival));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key7"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofint_value("key7", aival));
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key7"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofint_value("key7", &aival, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_REQUIRE(aival != NULL);
    BOOST_REQUIRE(aival[0] != NULL);
    BOOST_REQUIRE(aival[1] != NULL);
    BOOST_REQUIRE(aival[2] != NULL);
    BOOST_REQUIRE(aival[3] != NULL);
    BOOST_CHECK_EQUAL(*aival[0], -30);
    BOOST_CHECK_EQUAL(*aival[1], 10000);
    BOOST_CHECK_EQUAL(*aival[2], 42);
    BOOST_CHECK_EQUAL(*aival[3], 10);
    BOOST_CHECK(aival[4] == NULL);
    freeAndReset(aival);

    abval = newBools({true, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofbool_value("DEFAULT_key8", abval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key8"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofbool_value("key8", abval));
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key8"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofbool_value("key8", &abval, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 2);
    BOOST_REQUIRE(abval != NULL);
    BOOST_REQUIRE(abval[0] != NULL);
    BOOST_REQUIRE(abval[1] != NULL);
    BOOST_CHECK_EQUAL(*abval[0], true);
    BOOST_CHECK_EQUAL(*abval[1], false);
    BOOST_CHECK(abval[2] == NULL);
    freeAndReset(abval);

    adval = newDoubles({2.0, 0.0, -45.325});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofdouble_value("DEFAULT_key9", adval));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key9"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofdouble_value("key9", adval));
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key9"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_default_arrayofdouble_value("key9", &adval, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 3);
    BOOST_REQUIRE(adval != NULL);
    BOOST_REQUIRE(adval[0] != NULL);
    BOOST_REQUIRE(adval[1] != NULL);
    BOOST_REQUIRE(adval[2] != NULL);
    BOOST_CHECK_EQUAL(*adval[0], 2.0);
    BOOST_CHECK_EQUAL(*adval[1], 0.0);
    BOOST_CHECK_EQUAL(*adval[2], -45.325);
    BOOST_CHECK(adval[3] == NULL);
    freeAndReset(adval);

    // The value is what the default is.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key1", &sval));
    BOOST_CHECK_EQUAL(string(sval), string("value1"));
    freeAndReset(sval);
    ival = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(ival, -13);
    bval = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(bval, 1);
    dval = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(dval, 3.0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key5", &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{ \"a\" : \"b\" }"));
    freeAndReset(jval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("key6", &asval, NULL));
    BOOST_CHECK_EQUAL(strcmp(asval[0], "one"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[1], "two"), 0);
    BOOST_CHECK_EQUAL(strcmp(asval[2], "three"), 0);
    BOOST_CHECK(asval[3] == NULL);
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("key7", &aival, NULL));
    BOOST_CHECK_EQUAL(*aival[0], -30);
    BOOST_CHECK_EQUAL(*aival[1], 10000);
    BOOST_CHECK_EQUAL(*aival[2], 42);
    BOOST_CHECK_EQUAL(*aival[3], 10);
    BOOST_CHECK(aival[4] == NULL);
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("key8", &abval, NULL));
    BOOST_CHECK_EQUAL(*abval[0], true);
    BOOST_CHECK_EQUAL(*abval[1], false);
    BOOST_CHECK(abval[2] == NULL);
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("key9", &adval, NULL));
    BOOST_CHECK_EQUAL(*adval[0], 2.0);
    BOOST_CHECK_EQUAL(*adval[1], 0.0);
    BOOST_CHECK_EQUAL(*adval[2], -45.325);
    BOOST_CHECK(adval[3] == NULL);
    freeAndReset(adval);

    // The defaults are there, but not as keys.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_string_value("DEFAULT_key1", &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_int_value("DEFAULT_key2", &ival));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_bool_value("DEFAULT_key3", &bval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_double_value("DEFAULT_key4", &dval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_json_value("DEFAULT_key5", &jval));
    BOOST_CHECK(jval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofstring_value( "DEFAULT_key6", &asval, NULL));
    BOOST_CHECK(asval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofint_value( "DEFAULT_key7", &aival, NULL));
    BOOST_CHECK(aival == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofbool_value( "DEFAULT_key8", &abval, NULL));
    BOOST_CHECK(abval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_arrayofdouble_value( "DEFAULT_key9", &adval, NULL));
    BOOST_CHECK(adval == NULL);

    // A set changes the value, and never the default.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value("key1", "value2"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_int_value("key2", 13));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_bool_value("key3", 0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_double_value("key4", 6.28));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_json_value("key5", "{\"c\" : \"d\"}"));
    asval = newStrings({"four", "five"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofstring_value("key6", asval));
    freeAndReset(asval);
    aival = newInts({30, -10000, -42});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofint_value("key7", aival));
    freeAndReset(aival);
    abval = newBools({true, false, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofbool_value("key8", abval));
    freeAndReset(abval);
    adval = newDoubles({-2.0, 20.0});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_arrayofdouble_value("key9", adval));
    freeAndReset(adval);

    checkValuesThatWereSet();
    checkDefaults();

    // Nor does a set-default change the value.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value("key1", "value1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_int_value("key2", -13));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_bool_value("key3", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_double_value("key4", 3.0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_json_value("key5", "{ \"a\" : \"b\" }"));
    asval = newStrings({"one", "two", "three"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofstring_value("key6", asval));
    freeAndReset(asval);
    aival = newInts({-30, 10000, 42, 10});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofint_value("key7", aival));
    freeAndReset(aival);
    abval = newBools({true, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofbool_value("key8", abval));
    freeAndReset(abval);
    adval = newDoubles({2.0, 0.0, -45.325});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofdouble_value("key9", adval));
    freeAndReset(adval);

    checkValuesThatWereSet();
    checkDefaults();
}

// A NULL is found before the key is looked up: none of the keys exists.
void setNulls() {
    const int ival = 0;
    const bool bval = false;
    const double dval = 0.0;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_string_value(NULL, "value1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_string_value("key1", NULL));
    char** asval = newStrings({"one", "two", "three"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofstring_value( NULL, asval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofstring_value( "key5", NULL));
    freeAndReset(asval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_json_value(NULL, "value1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_json_value("key10", NULL));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_int_value(NULL, ival));
    int** aival = newInts({0, 0, 0});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofint_value( NULL, aival));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofint_value( "key6", NULL));
    freeAndReset(aival);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_bool_value(NULL, bval));
    bool** abval = newBools({false, false, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofbool_value( NULL, abval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofbool_value( "key7", NULL));
    freeAndReset(abval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_double_value(NULL, dval));
    double** adval = newDoubles({0.0, 0.0, 0.0});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofdouble_value( NULL, adval));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_default_arrayofdouble_value( "key8", NULL));
    freeAndReset(adval);
}

// The blank before the key is part of what is printed.
#define CHECK_WRONG_TYPE(key, set, value) \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, set( key, value))

void getWrongType() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value("key1", "value1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_int_value("key2", -13));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_bool_value("key3", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_double_value("key4", 3.0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_json_value("key5", "{}"));
    char** asval = newStrings({"one", "two", "three"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofstring_value("key6", asval));
    freeAndReset(asval);
    int** aival = newInts({-30, 10000, 42, 10});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofint_value("key7", aival));
    freeAndReset(aival);
    bool** abval = newBools({true, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofbool_value("key8", abval));
    freeAndReset(abval);
    double** adval = newDoubles({2.0, 0.0, -45.325});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofdouble_value("key9", adval));
    freeAndReset(adval);

    // From now on each key keeps its type.
    FOR_KEYS_BUT(key1, CHECK_WRONG_TYPE, zelva_core_settings_set_default_string_value, "value1");
    FOR_KEYS_BUT(key1, CHECK_WRONG_TYPE, zelva_core_settings_set_string_value, "value1");

    FOR_KEYS_BUT(key2, CHECK_WRONG_TYPE, zelva_core_settings_set_default_int_value, -13);
    FOR_KEYS_BUT(key2, CHECK_WRONG_TYPE, zelva_core_settings_set_int_value, -13);

    FOR_KEYS_BUT(key3, CHECK_WRONG_TYPE, zelva_core_settings_set_default_bool_value, 1);
    FOR_KEYS_BUT(key3, CHECK_WRONG_TYPE, zelva_core_settings_set_bool_value, 1);

    FOR_KEYS_BUT(key4, CHECK_WRONG_TYPE, zelva_core_settings_set_default_double_value, 3.0);
    FOR_KEYS_BUT(key4, CHECK_WRONG_TYPE, zelva_core_settings_set_double_value, 3.0);

    FOR_KEYS_BUT(key5, CHECK_WRONG_TYPE, zelva_core_settings_set_default_json_value, "{}");
    FOR_KEYS_BUT(key5, CHECK_WRONG_TYPE, zelva_core_settings_set_json_value, "{}");

    asval = newStrings({"one", "two", "three"});
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, zelva_core_settings_set_default_arrayofstring_value, asval);
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofstring_value, asval);
    freeAndReset(asval);

    aival = newInts({1, 2, 3});
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, zelva_core_settings_set_default_arrayofint_value, aival);
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofint_value, aival);
    freeAndReset(aival);

    abval = newBools({true, false, true});
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, zelva_core_settings_set_default_arrayofbool_value, abval);
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofbool_value, abval);
    freeAndReset(abval);

    adval = newDoubles({1.0, 2.0, 3.0});
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, zelva_core_settings_set_default_arrayofdouble_value, adval);
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofdouble_value, adval);
    freeAndReset(adval);
}

}  // namespace cases::testSetDefault
