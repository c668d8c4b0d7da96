#include "fixtures.h"

#include <string.h>
#include <zelva/configuration.h>
#include <zelva/debug.h>
#include <zelva/settings.h>

#include <cstdlib>
#include <fstream>

#include "boost_test.h"

std::string settingsFilePath() {
    return std::string(zelva_core_debug_get_setting_path()) + "/test";
}

std::string configurationFilePath() {
    return std::string(zelva_core_debug_get_setting_path()) + "/CONFIG_test";
}

void writeLines(const std::string& path, std::initializer_list<const char*> lines) {
    std::ofstream file(path);
    for (const char* line : lines) {
        file << line << std::endl;
    }
    file.close();
}

bool keyExistsInSettingsFile(const char* key) {
    const std::string pattern = std::string(key) + " = ";
    std::ifstream file(settingsFilePath());
    bool exists = false;
    std::string line;
    while (std::getline(file, line)) {
        if (starts_with(line, pattern)) {
            exists = true;
        }
    }
    return exists;
}

bool isKeyInList(const char* key, char** list) {
    for (; *list != nullptr; ++list) {
        if (strcmp(*list, key) == 0) {
            return true;
        }
    }
    return false;
}

bool starts_with(const std::string& s, const std::string& prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

char** newStrings(std::initializer_list<const char*> values) {
    char** const array = zelva_core_alloc_string_array(static_cast<unsigned>(values.size()));
    char** slot = array;
    for (const char* value : values) {
        *slot++ = strdup(value);
    }
    return array;
}

namespace {

template <class T>
T** filled(T** array, std::initializer_list<T> values) {
    T** slot = array;
    for (const T value : values) {
        **slot++ = value;
    }
    return array;
}

}  // namespace

int** newInts(std::initializer_list<int> values) {
    return filled(zelva_core_alloc_int_array(static_cast<unsigned>(values.size())), values);
}

bool** newBools(std::initializer_list<bool> values) {
    return filled(zelva_core_alloc_bool_array(static_cast<unsigned>(values.size())), values);
}

double** newDoubles(std::initializer_list<double> values) {
    return filled(zelva_core_alloc_double_array(static_cast<unsigned>(values.size())), values);
}

void freeAndReset(char*& text) {
    free(text);
    text = nullptr;
}

void freeAndReset(char**& array) {
    zelva_core_free_string_array(array);
    array = nullptr;
}

void freeAndReset(int**& array) {
    zelva_core_free_int_array(array);
    array = nullptr;
}

void freeAndReset(bool**& array) {
    zelva_core_free_bool_array(array);
    array = nullptr;
}

void freeAndReset(double**& array) {
    zelva_core_free_double_array(array);
    array = nullptr;
}

void SettingsFixture::open() {
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
}

SettingsFixture::~SettingsFixture() {
    zelva_core_settings_deinit();
    zelva_core_deinit();
}

StandardSettingsFixture::StandardSettingsFixture() {
    writeLines(settingsFilePath(), {
                                       "key1 = Sone",
                                       "DEFAULT_key1 = Sone",
                                       "key2 = I2",
                                       "DEFAULT_key2 = I2",
                                       "key3 = BFALSE",
                                       "DEFAULT_key3 = BFALSE",
                                       "key4 = D3.023",
                                       "DEFAULT_key4 = D3.023",
                                       "key5 = J{ \"top\": { \"title\": \"ex glossary\" } }",
                                       "DEFAULT_key5 = J{ \"top\": { \"title\": \"ex glossary\" } }",
                                       "key6 = ASone,two,three",
                                       "DEFAULT_key6 = ASone,two,three",
                                       "key7 = AI1,2,3,4",
                                       "DEFAULT_key7 = AI1,2,3,4",
                                       "key8 = ABTRUE,TRUE,FALSE,TRUE",
                                       "DEFAULT_key8 = ABTRUE,TRUE,FALSE,TRUE",
                                       "key9 = AD3.023,4.11,101.7,0.25",
                                       "DEFAULT_key9 = AD3.023,4.11,101.7,0.25",
                                       "key10 = Sten",
                                   });
    open();
}

EmptySettingsFixture::EmptySettingsFixture() {
    writeLines(settingsFilePath(), {"# empty settings"});
    open();
}

VersionedSettingsFixture::VersionedSettingsFixture() {
    writeLines(settingsFilePath(), {"Version = I19"});
    open();
}

KeyListFixture::KeyListFixture()
    : _data{
          {"saa", "SAA"},
          {"iaa", "I12"},
          {"baa", "B0"},
          {"daa", "D0.0"},
          {"asaa", "ASAA0,AA1,AA2,AA3"},
          {"aiaa", "AI2,3,1,0"},
          {"abaa", "ABTRUE,FALSE,FALSE,TRUE,FALSE"},
          {"adaa", "AD2.2,3.14,1.0,0.0,5.7"},
          {"sbb", "SBB"},
          {"ibb", "I13"},
          {"bbb", "BFALSE"},
          {"dbb", "D3.23"},
          {"scc", "SCC"},
          {"icc", "I45"},
          {"bcc", "B1"},
          {"dcc", "D19.232"},
      } {
    std::ofstream file(settingsFilePath());
    for (const auto& [key, value] : _data) {
        file << key << " = " << value << '\n';
    }
    file.close();
    open();
}

ConfigurationFixture::ConfigurationFixture() {
    writeLines(configurationFilePath(), {
                                            "key1 = Sone",
                                            "key2 = I2",
                                            "key3 = BFALSE",
                                            "key4 = D3.023",
                                            "key5 = J{ \"top\": { \"title\": \"ex glossary\" } }",
                                            "key6 = ASone,two,three",
                                            "key7 = AI1,2,3,4",
                                            "key8 = ABTRUE,TRUE,FALSE,TRUE",
                                            "key9 = AD3.023,4.11,101.7,0.25",
                                        });
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
}

ConfigurationFixture::~ConfigurationFixture() {
    zelva_core_configuration_deinit();
    zelva_core_deinit();
}
