// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// Deleting and listing keys, and a store whose file is missing.
#include <string.h>
#include <zelva/settings.h>

#include <boost/filesystem.hpp>
#include <cstdlib>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

using std::string;

namespace cases::testDelete {

// Not even its default is left to be read.
void deletedValuesCannotBeRead() {
    char* val = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value("key1", &val));
    BOOST_CHECK_EQUAL(string("one"), string(val));
    freeAndReset(val);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_string_value("key1", &val));

    int ival = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_int_value("key2", &ival));
    BOOST_CHECK_EQUAL(2, ival);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key2"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_int_value("key2", &ival));

    bool bval = true;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_bool_value("key3", &bval));
    BOOST_CHECK_EQUAL(false, bval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key3"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_bool_value("key3", &bval));

    double dval = 0.0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_double_value("key4", &dval));
    BOOST_CHECK_EQUAL(3.023, dval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key4"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_double_value("key4", &dval));

    char* jval = NULL;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_json_value("key5", &jval));
    BOOST_CHECK_EQUAL("{ \"top\" : { \"title\" : \"ex glossary\" } }", string(jval));
    freeAndReset(jval);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key5"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_json_value("key5", &jval));
}

void cannotDeleteNonPresentKeys() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_delete_key("fred"));
}

void cannotDeleteTwice() {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key1"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_delete_key("key1"));
}

}  // namespace cases::testDelete

namespace cases::testGetAllKeys {

// The keys of the file and no others, each once, in any order.
void knownList(const std::map<string, string>& _data) {
    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    std::size_t numReturned = 0;
    for (std::size_t ii = 0; keyList[ii] != NULL; ++ii) {
        BOOST_CHECK(_data.count(keyList[ii]) != 0);
        ++numReturned;
    }
    zelva_core_free_string_array(keyList);
    BOOST_CHECK_EQUAL(_data.size(), numReturned);
}

void addInNewList() {
    const char newKey[] = "myNewKey";

    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK_EQUAL(false, isKeyInList(newKey, keyList));
    zelva_core_free_string_array(keyList);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value(newKey, "svalue"));

    keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK_EQUAL(true, isKeyInList(newKey, keyList));
    zelva_core_free_string_array(keyList);
}

void deleteNotInNewList() {
    char** keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK(keyList != NULL);
    BOOST_CHECK(keyList[1] != NULL);
    char* testKey = strdup(keyList[1]);
    BOOST_CHECK_EQUAL(true, isKeyInList(testKey, keyList));
    zelva_core_free_string_array(keyList);

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(testKey));

    keyList = zelva_core_settings_get_all_keys();
    BOOST_CHECK_EQUAL(false, isKeyInList(testKey, keyList));
    zelva_core_free_string_array(keyList);
    free(testKey);
}

}  // namespace cases::testGetAllKeys

namespace cases::testEmptyDirectory {

using boost::filesystem::path;
using boost::filesystem::remove_all;

// A store without a file is empty, and the first write makes its file. The file that the cases before this one left is
// moved away meanwhile.
void savingToNonExistentDirectory() {
    const char* const skey = "skey";
    char* sval = NULL;

    const path settingPath = settingsFilePath();
    path tmpPath = settingPath.parent_path();
    tmpPath /= "tmpsettingstest";
    BOOST_CHECK_NO_THROW(remove_all(tmpPath));
    BOOST_CHECK_NO_THROW(boost::filesystem::rename(settingPath, tmpPath));

    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK(sval == NULL);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_set_default_string_value(skey, "svalue"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK_EQUAL(string("svalue"), sval);
    freeAndReset(sval);
    zelva_core_settings_deinit();
    zelva_core_deinit();

    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_string_value(skey, &sval));
    BOOST_CHECK(sval != NULL);
    if (sval != NULL) {
        BOOST_CHECK_EQUAL(string("svalue"), sval);
        freeAndReset(sval);
    }
    zelva_core_settings_deinit();
    zelva_core_deinit();

    BOOST_CHECK_NO_THROW(remove_all(settingPath));
    BOOST_CHECK_NO_THROW(boost::filesystem::rename(tmpPath, settingPath));
}

}  // namespace cases::testEmptyDirectory
