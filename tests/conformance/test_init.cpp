// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Opening and closing the stores, and the reader of the settings file. Each case writes its own file, and opens the
// store without starting the library first.
#include <zelva/configuration.h>
#include <zelva/settings.h>

#include <cstdlib>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using std::string;

namespace cases::testInit {

void initFail() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init(NULL));
    // A configuration file is not opened as settings, and is not made by being opened.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init("CONFIG_test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init("most_likely_nonexistent"));
}

void initPass() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
}

// The store that was opened first stays open.
void secondInitFail() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
}

// Only the first '=' of a line separates, and the last line of a key counts, whatever the types of the others.
void stringsInIniFile() {
    writeLines(settingsFilePath(), {
        "key6 = S=and = and = and =",
        "key7 = Slaskjd",
        "key7 = BFALSE",
        "key7 = I3",
        "key7 = Sfinal",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    char* sval = NULL;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key6", &sval));
    BOOST_CHECK_EQUAL(string(sval), "=and = and = and =");
    freeAndReset(sval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key7", &sval));
    BOOST_CHECK_EQUAL(string(sval), "final");
    freeAndReset(sval);

    zelva_core_settings_deinit();
}

// Blanks around a JSON text are allowed, and it comes back in its canonical form. A text that is not JSON does not keep
// the store from being opened.
void jsonInIniFile() {
    writeLines(settingsFilePath(), {
        "key5 = J{and : '= and =' }",
        "key10 = J{ \"top\": { \"title\": \"ex glossary\" } }",
        "key1 = J   { } ",
        "key7 = Slaskjd",
        "key7 = BFALSE",
        "key7 = I3",
        "key7 = Sfinal",
        "key7 = J{ \"top\": { \"title\": \"ex glossary\" } }",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    char* jval = NULL;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_json_value("key6", &jval));
    freeAndReset(jval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key10", &jval));
    BOOST_CHECK_EQUAL(string(jval), "{ \"top\" : { \"title\" : \"ex glossary\" } }");
    freeAndReset(jval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key1", &jval));
    BOOST_CHECK_EQUAL(string(jval), "{}");
    freeAndReset(jval);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key7", &jval));
    BOOST_CHECK_EQUAL(string(jval), "{ \"top\" : { \"title\" : \"ex glossary\" } }");
    freeAndReset(jval);

    zelva_core_settings_deinit();
}

// An int ends at the first character that is not a digit; the rest of the line is passed over.
void intsInIniFile() {
    writeLines(settingsFilePath(), {
        "one = I232notanint",
        "two = I634",
        "three =  I 128  ",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] != NULL);
    BOOST_CHECK(keyList[3] == NULL);
    zelva_core_free_string_array(keyList);

    int x = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("one", &x));
    BOOST_CHECK_EQUAL(x, 232);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("two", &x));
    BOOST_CHECK_EQUAL(x, 634);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("three", &x));
    BOOST_CHECK_EQUAL(x, 128);

    zelva_core_settings_deinit();
}

// A bool has two spellings of either value.
void boolsInIniFile() {
    writeLines(settingsFilePath(), {
        "b1 = B0",
        "b2 = BFALSE",
        "b3 = B1",
        "b4 = BTRUE",
        "b5 = B TRUE  ",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    bool bval = true;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("b1", &bval));
    BOOST_CHECK_EQUAL(bval, false);
    bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("b2", &bval));
    BOOST_CHECK_EQUAL(bval, false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("b3", &bval));
    BOOST_CHECK_EQUAL(bval, true);
    bval = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("b4", &bval));
    BOOST_CHECK_EQUAL(bval, true);
    bval = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("b5", &bval));
    BOOST_CHECK_EQUAL(bval, true);

    zelva_core_settings_deinit();
}

// A double may begin with its point, and ends like an int.
void doublesInIniFile() {
    writeLines(settingsFilePath(), {
        "one = D0.23textrastuff here",
        "two = D1.23",
        "three = D.23",
        "four = D .28 ",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    double d = 0.0;

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("one", &d));
    BOOST_CHECK_EQUAL(d, 0.23);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("two", &d));
    BOOST_CHECK_EQUAL(d, 1.23);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("three", &d));
    BOOST_CHECK_EQUAL(d, 0.23);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("four", &d));
    BOOST_CHECK_EQUAL(d, 0.28);

    zelva_core_settings_deinit();
}

// Elements lose the blanks around them, a backslash takes the comma after it into the element, and double quotes are
// characters like any other. A tag alone is an array without elements, which is not NULL.
void arrayOfStringsInIniFile() {
    writeLines(settingsFilePath(), {
        "one = AShello,   world   ",
        "two = AShere's a string\\, containing a comma",
        "three = AS",
        "four = AS\"  string with space    \",  string without space    ,,end ",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] != NULL);
    BOOST_CHECK(keyList[3] != NULL);
    BOOST_CHECK(keyList[4] == NULL);
    zelva_core_free_string_array(keyList);

    char** array = NULL;
    int arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("one", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    int i = 0;
    while (array[i] != NULL) {
        ++i;
    }
    BOOST_CHECK_EQUAL(i, 2);
    BOOST_CHECK_EQUAL(arrayLength, i);
    BOOST_CHECK_EQUAL(array[0], "hello");
    BOOST_CHECK_EQUAL(array[1], "world");
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("two", &array, NULL));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK(array[0] != NULL);
    BOOST_CHECK_EQUAL(array[0], "here's a string, containing a comma");
    BOOST_CHECK(array[1] == NULL);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("three", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK_EQUAL(arrayLength, 0);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofstring_value("four", &array, &arrayLength));
    BOOST_CHECK_EQUAL(arrayLength, 4);
    BOOST_CHECK_EQUAL(array[0], "\"  string with space    \"");
    BOOST_CHECK_EQUAL(array[1], "string without space");
    BOOST_CHECK_EQUAL(array[2], "");
    BOOST_CHECK_EQUAL(array[3], "end");
    freeAndReset(array);

    zelva_core_settings_deinit();
}

void arrayOfIntsInIniFile() {
    writeLines(settingsFilePath(), {
        "one = AI 0,  1,2,3  ,4,5",
        "two = AI634",
        "three = AI",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] != NULL);
    BOOST_CHECK(keyList[3] == NULL);
    zelva_core_free_string_array(keyList);

    int** array = NULL;
    int arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("one", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    int i = 0;
    for (int* pi = array[0]; pi != NULL; pi = array[++i]) {
        BOOST_CHECK_EQUAL(*pi, i);
    }
    BOOST_CHECK_EQUAL(i, 6);
    BOOST_CHECK_EQUAL(arrayLength, i);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("two", &array, NULL));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK(array[0] != NULL);
    BOOST_CHECK_EQUAL(*array[0], 634);
    BOOST_CHECK(array[1] == NULL);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("three", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK_EQUAL(arrayLength, 0);
    freeAndReset(array);

    zelva_core_settings_deinit();
}

void arrayOfBoolInIniFile() {
    writeLines(settingsFilePath(), {
        "one =ABTRUE,0,  1 ,FALSE  ",
        "two = ABTRUE",
        "three = AB",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] != NULL);
    BOOST_CHECK(keyList[3] == NULL);
    zelva_core_free_string_array(keyList);

    bool** array = NULL;
    int arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("one", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    bool testVal = true;
    int i = 0;
    for (bool* pb = array[0]; pb != NULL; pb = array[++i]) {
        BOOST_CHECK_EQUAL(*pb, testVal);
        testVal = !testVal;
    }
    BOOST_CHECK_EQUAL(i, 4);
    BOOST_CHECK_EQUAL(arrayLength, i);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("two", &array, NULL));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK(array[0] != NULL);
    BOOST_CHECK_EQUAL(*array[0], true);
    BOOST_CHECK(array[1] == NULL);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofbool_value("three", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK_EQUAL(arrayLength, 0);
    freeAndReset(array);

    zelva_core_settings_deinit();
}

void arrayOfDoubleInIniFile() {
    writeLines(settingsFilePath(), {
        "one = AD1,1.5,2.25,3.125,  4.0625  ,5.03125",
        "two = AD634",
        "three = AD",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList[0] != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    BOOST_CHECK(keyList[2] != NULL);
    BOOST_CHECK(keyList[3] == NULL);
    zelva_core_free_string_array(keyList);

    double** array = NULL;
    int arrayLength = -1;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("one", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    int i = 0;
    for (double* pd = array[0]; pd != NULL; pd = array[++i]) {
        BOOST_CHECK_EQUAL(*pd, (double(i) + 1.0/double(1<<i)));
    }
    BOOST_CHECK_EQUAL(i, 6);
    BOOST_CHECK_EQUAL(arrayLength, i);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("two", &array, NULL));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK(array[0] != NULL);
    BOOST_CHECK_EQUAL(*array[0], 634.0);
    BOOST_CHECK(array[1] == NULL);
    freeAndReset(array);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofdouble_value("three", &array, &arrayLength));
    BOOST_CHECK(array != NULL);
    BOOST_CHECK_EQUAL(arrayLength, 0);
    freeAndReset(array);

    zelva_core_settings_deinit();
}

// Comments, and every way in which a line is not an entry: the store opens, and is empty.
void illFormedIniFile() {
    writeLines(settingsFilePath(), {
        "# IGNORE this is a comment - no problem",
        "; this is a comment - no problem",
        "key1 = one",
        "= I2",
        " = BFALSE",
        "key4 =",
        "key5 = ",
        "badInt = Inotanint",
        "badInt3 = Inota232nint",
        "badInt4 = I",
        "badInt5 = I634234234234234234234234234234234234234234234234234234234234234",
        "key8  = Balskd",
        "key9  = B0TRUE",
        "key10 = B1TRUE",
        "key11 = BTRUE1",
        "key12 = B",
        "key13 = DTRUE",
        "key14 = DTR3.0UE",
        "key15 = D",
        "key16 = AI1,2,abc,3",
        "key17 = ABTRUE,abc,FALSE",
        "key18 = ABTRUE,0TRUE,FALSE",
        "key19 = AD3.0,TRUE",
        "key20 = AD3.0,TR3.0UE,4",
        "key21 = AD,",
        "key23 = AI,",
        "key24 = AB,",
        "key25 = AD,",
        "key26 = Jalsdkjf",
    });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[0] == NULL);
    zelva_core_free_string_array(keyList);

    zelva_core_settings_deinit();
}

// A set-default completes a key that has only its value, and one that has only its default, in the file at once.
void setDefaultIncomplete() {
    writeLines(settingsFilePath(), {"key1 = Sone"});
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), false);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value("key1", "one"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    zelva_core_settings_deinit();

    writeLines(settingsFilePath(), {"DEFAULT_key1 = Sone"});
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), false);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value("key1", "one"));
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("key1"), true);
    BOOST_CHECK_EQUAL(keyExistsInSettingsFile("DEFAULT_key1"), true);
    zelva_core_settings_deinit();
}

}  // namespace cases::testInit
