// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Writing: what is written is read back, and a key keeps its type until it is deleted.
#include <zelva/settings.h>

#include <cstdlib>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using std::string;

namespace cases::testSet {

// A type at a time: the key is not there and its get leaves the variable alone; once it is written it is there and is
// read back; and its default is not there as a key.
void setsCanBeReadBack() {
    const int targetCount = 5;
    int count = 0;

    const char* const skey = "skey";
    char* sval = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(skey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value(skey, "svalue"));
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(skey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(string(sval), string("svalue"));
    freeAndReset(sval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_skey"), false);

    const char* const ikey = "ikey";
    int ival = 0;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(ikey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_int_value(ikey, &ival));
    BOOST_CHECK(ival == 0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_int_value(ikey, 19));
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(ikey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value(ikey, &ival));
    BOOST_CHECK_EQUAL(ival, 19);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_ikey"), false);

    const char* const bkey2 = "bkey2";
    bool bval = false;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(bkey2), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_bool_value(bkey2, &bval));
    BOOST_CHECK(bval == 0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_bool_value(bkey2, false));
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(bkey2), true);
    bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value(bkey2, &bval));
    BOOST_CHECK_EQUAL(bval, false);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_bkey2"), false);

    // The last question of this block is about a name that is never written.
    const char* const dkey = "dkey";
    double dval = 0.0;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(dkey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_double_value(dkey, &dval));
    BOOST_CHECK(dval == 0.0);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_double_value(dkey, 1.23));
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(dkey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value(dkey, &dval));
    BOOST_CHECK_EQUAL(dval, 1.23);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_dkey2"), false);

    const char* const jkey = "jkey";
    char* jval = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(jkey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_json_value(jkey, &jval));
    BOOST_CHECK(jval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_json_value(jkey, "{}"));
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(jkey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value(jkey, &jval));
    BOOST_CHECK_EQUAL(string(jval), string("{}"));
    freeAndReset(jval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_jkey"), false);

    const char* const askey = "askey";
    char** asval = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(askey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofstring_value(askey, &asval, NULL));
    BOOST_CHECK(asval == NULL);
    asval = newStrings({"one", "two", "three"});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofstring_value(askey, asval));
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(askey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value(askey, &asval, &count));
    BOOST_CHECK_EQUAL(count, 3);
    BOOST_CHECK_EQUAL(asval[0], "one");
    BOOST_CHECK_EQUAL(asval[1], "two");
    BOOST_CHECK_EQUAL(asval[2], "three");
    freeAndReset(asval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_askey"), false);

    const char* const aikey = "aikey";
    int** aival = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(aikey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofint_value(aikey, &aival, NULL));
    BOOST_CHECK(aival == NULL);
    aival = newInts({0, 1, 2, 3, 4});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofint_value(aikey, aival));
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(aikey), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value(aikey, &aival, &count));
    BOOST_CHECK_EQUAL(count, targetCount);
    for (int i = 0; i < targetCount; ++i) {
        BOOST_CHECK_EQUAL(*(aival[i]), i);
    }
    freeAndReset(aival);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_aikey"), false);

    const char* const abkey = "abkey";
    bool** abval = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(abkey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofbool_value(abkey, &abval, NULL));
    BOOST_CHECK(abval == NULL);
    abval = newBools({false, true, false, true, false});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofbool_value(abkey, abval));
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(abkey), true);
    count = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value(abkey, &abval, &count));
    BOOST_CHECK_EQUAL(count, 5);
    bool testVal = false;
    for (int i = 0; i < targetCount; ++i) {
        BOOST_CHECK_EQUAL(*(abval[i]), testVal);
        testVal = !testVal;
    }
    freeAndReset(abval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_abkey"), false);

    const char* const adkey = "adkey";
    double** adval = NULL;
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(adkey), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_arrayofdouble_value(adkey, &adval, NULL));
    BOOST_CHECK(adval == NULL);
    adval = newDoubles({0 + 0.1, 1 + 0.1, 2 + 0.1, 3 + 0.1, 4 + 0.1});
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_arrayofdouble_value(adkey, adval));
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist(adkey), true);
    count = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value(adkey, &adval, &count));
    BOOST_CHECK_EQUAL(count, 5);
    for (int i = 0; i < targetCount; ++i) {
        BOOST_CHECK_EQUAL(*(adval[i]), i + 0.1);
    }
    freeAndReset(adval);
    BOOST_CHECK_EQUAL(zelva_core_settings_does_key_exist("DEFAULT_adkey"), false);
}

// A string is kept byte for byte, whatever it holds but a line feed: a line of the file has no room for one.
void setStringCases() {
    const char* const skey = "skey";
    char* sval = NULL;

    const string withEqual = "text=text";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value(skey, withEqual.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, withEqual);
    freeAndReset(sval);

    const string startEqual = "=text";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value(skey, startEqual.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, startEqual);
    freeAndReset(sval);

    const string endEqual = "text=";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value(skey, endEqual.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, endEqual);
    freeAndReset(sval);

    const string oddChars = "!@#$ this is hex ff - \xff --$%$^%^&*&()()\"'\\=";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value(skey, oddChars.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, oddChars);
    freeAndReset(sval);

    string longString = oddChars;
    for (int i = 0; i < 10; ++i) {
        longString += longString;
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value(skey, longString.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, longString);
    freeAndReset(sval);

    const string empty;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_string_value(skey, empty.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(sval, empty);
    freeAndReset(sval);

    const string newline = "one line \n and another";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_string_value(skey, newline.c_str()));
}

// JSON is kept in its canonical form, on one line. Line breaks are accepted between tokens and inside of names, but
// what is not JSON is refused before the key is looked up: there is no key10.
void setJsonCases() {
    const char* const jkey = "jkey";
    char* jval = NULL;

    const string withNewlines = "{\n \"glossary\": {\n \"title\":\"example\"\n} \n }";
    const string withoutNewlines = "{ \"glossary\" : { \"title\" : \"example\" } }";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_json_value(jkey, withNewlines.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value(jkey, &jval));
    BOOST_CHECK_EQUAL(jval, withoutNewlines);
    freeAndReset(jval);

    const string withBadNewlines = "{\n \"glos\nsar \n y\": {\n \"title\":\"example\"\n} \n }";
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_json_value(jkey, withBadNewlines.c_str()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value(jkey, &jval));
    EXPECT_WRITTEN(jval, NULL);
    freeAndReset(jval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_json_value("key10", "line one\nline two"));
}

#define CHECK_WRONG_TYPE(key, set, value) \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, set(key, value))

// No set writes over a key of another type, not even a zero or an empty array.
void setWrongType() {
    const int x = 0;
    const double d = 0.0;

    FOR_KEYS_BUT(key1, CHECK_WRONG_TYPE, zelva_core_settings_set_string_value, "x");
    FOR_KEYS_BUT(key2, CHECK_WRONG_TYPE, zelva_core_settings_set_int_value, x);
    FOR_KEYS_BUT(key3, CHECK_WRONG_TYPE, zelva_core_settings_set_bool_value, 0);
    FOR_KEYS_BUT(key4, CHECK_WRONG_TYPE, zelva_core_settings_set_double_value, d);
    FOR_KEYS_BUT(key5, CHECK_WRONG_TYPE, zelva_core_settings_set_json_value, "{}");

    char** asval = zelva_core_alloc_string_array(0);
    FOR_KEYS_BUT(key6, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofstring_value, asval);
    zelva_core_free_string_array(asval);

    int** aival = zelva_core_alloc_int_array(0);
    FOR_KEYS_BUT(key7, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofint_value, aival);
    zelva_core_free_int_array(aival);

    bool** abval = zelva_core_alloc_bool_array(0);
    FOR_KEYS_BUT(key8, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofbool_value, abval);
    zelva_core_free_bool_array(abval);

    double** adval = zelva_core_alloc_double_array(0);
    FOR_KEYS_BUT(key9, CHECK_WRONG_TYPE, zelva_core_settings_set_arrayofdouble_value, adval);
    zelva_core_free_double_array(adval);
}

// As long as a key is there, its type stays.
#define CHECK_KEEPS_TYPE(key, oldType, setOfNewType)                                         \
    type = noType;                                                                           \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_type(key, &type)); \
    BOOST_CHECK_EQUAL(type, oldType);                                                        \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, setOfNewType)

// A deleted key takes its default with it, and its name is then free for a key of another type.
#define CHECK_TAKES_TYPE(key, defaultKey, getOfOldType, setDefaultOfNewType, newType)                \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(key));              \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key(defaultKey)); \
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile(defaultKey), false);                                   \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, getOfOldType);                          \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, setDefaultOfNewType);                              \
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile(defaultKey), true);                                    \
    type = noType;                                                                                   \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_type(key, &type));         \
    BOOST_CHECK_EQUAL(type, newType)

// A default cannot be deleted by itself: neither while its key is there nor after.
void changeType() {
    const auto noType = static_cast<zelva_core_settings_type>(15);
    zelva_core_settings_type type = noType;
    double d = 0.123;
    char* sval = NULL;
    int ival = 0;
    bool bval = false;
    char** asval = NULL;
    int** aival = NULL;
    bool** abval = NULL;
    double** adval = NULL;

    CHECK_KEEPS_TYPE("key1", ZELVA_CORE_SETTING_TYPE_STRING, zelva_core_settings_set_double_value("key1", d));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key1"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    CHECK_TAKES_TYPE("key1", "DEFAULT_key1", zelva_core_settings_get_string_value("key1", &sval), zelva_core_settings_set_default_double_value("key1", d), ZELVA_CORE_SETTING_TYPE_DOUBLE);

    CHECK_KEEPS_TYPE("key2", ZELVA_CORE_SETTING_TYPE_INT, zelva_core_settings_set_bool_value("key2", 0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key2"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key2"), true);
    CHECK_TAKES_TYPE("key2", "DEFAULT_key2", zelva_core_settings_get_int_value("key2", &ival), zelva_core_settings_set_default_bool_value("key2", 0), ZELVA_CORE_SETTING_TYPE_BOOL);

    CHECK_KEEPS_TYPE("key3", ZELVA_CORE_SETTING_TYPE_BOOL, zelva_core_settings_set_int_value("key3", 19));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key3"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key3"), true);
    CHECK_TAKES_TYPE("key3", "DEFAULT_key3", zelva_core_settings_get_bool_value("key3", &bval), zelva_core_settings_set_default_int_value("key3", 19), ZELVA_CORE_SETTING_TYPE_INT);

    CHECK_KEEPS_TYPE("key4", ZELVA_CORE_SETTING_TYPE_DOUBLE, zelva_core_settings_set_json_value("key4", "{}"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key4"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key4"));
    CHECK_TAKES_TYPE("key4", "DEFAULT_key4", zelva_core_settings_get_double_value("key4", &d), zelva_core_settings_set_default_json_value("key4", "{}"), ZELVA_CORE_SETTING_TYPE_JSON);

    CHECK_KEEPS_TYPE("key5", ZELVA_CORE_SETTING_TYPE_JSON, zelva_core_settings_set_string_value("key5", "test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key5"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key5"));
    CHECK_TAKES_TYPE("key5", "DEFAULT_key5", zelva_core_settings_get_json_value("key5", &sval), zelva_core_settings_set_default_string_value("key5", "test"), ZELVA_CORE_SETTING_TYPE_STRING);

    CHECK_KEEPS_TYPE("key6", ZELVA_CORE_SETTING_TYPE_ARRAYOFSTRING, zelva_core_settings_set_string_value("key6", "test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key6"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key6"));
    CHECK_TAKES_TYPE("key6", "DEFAULT_key6", zelva_core_settings_get_arrayofstring_value("key6", &asval, NULL), zelva_core_settings_set_default_string_value("key6", "test"), ZELVA_CORE_SETTING_TYPE_STRING);

    CHECK_KEEPS_TYPE("key7", ZELVA_CORE_SETTING_TYPE_ARRAYOFINT, zelva_core_settings_set_string_value("key7", "test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key7"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key7"));
    CHECK_TAKES_TYPE("key7", "DEFAULT_key7", zelva_core_settings_get_arrayofint_value("key7", &aival, NULL), zelva_core_settings_set_default_string_value("key7", "test"), ZELVA_CORE_SETTING_TYPE_STRING);

    CHECK_KEEPS_TYPE("key8", ZELVA_CORE_SETTING_TYPE_ARRAYOFBOOL, zelva_core_settings_set_string_value("key8", "test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key8"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key8"));
    CHECK_TAKES_TYPE("key8", "DEFAULT_key8", zelva_core_settings_get_arrayofbool_value("key8", &abval, NULL), zelva_core_settings_set_default_string_value("key8", "test"), ZELVA_CORE_SETTING_TYPE_STRING);

    CHECK_KEEPS_TYPE("key9", ZELVA_CORE_SETTING_TYPE_ARRAYOFDOUBLE, zelva_core_settings_set_string_value("key9", "test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key9"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key("DEFAULT_key9"));
    CHECK_TAKES_TYPE("key9", "DEFAULT_key9", zelva_core_settings_get_arrayofdouble_value("key9", &adval, NULL), zelva_core_settings_set_default_string_value("key9", "test"), ZELVA_CORE_SETTING_TYPE_STRING);
}

void getAllKeysNoDefaults() {
    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    for (int i = 0; keyList[i] != NULL; ++i) {
        BOOST_CHECK_EQUAL(starts_with(string(keyList[i]), string("DEFAULT_")), false);
    }
    zelva_core_free_string_array(keyList);

    keyList = zelva_core_settings_get_keys_starting_with("DEFAULT_");
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[0] == NULL);
    zelva_core_free_string_array(keyList);
}

}  // namespace cases::testSet
