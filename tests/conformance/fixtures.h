// What the cases of testSettings share: the stores that they run on, and looks into files and lists.
#pragma once

#include <initializer_list>
#include <map>
#include <string>

/// The file of the settings store "test", and that of the configuration store "test".
std::string settingsFilePath();
std::string configurationFilePath();

/// Makes a file of these lines, in place of what it held.
void writeLines(const std::string& path, std::initializer_list<const char*> lines);

/// Whether the settings file has an entry of this key, in the form in which the store writes entries.
bool keyExistsInSettingsFile(const char* key);

/// Whether a list of keys, which may be empty but not NULL, holds this one.
bool isKeyInList(const char* key, char** list);

bool starts_with(const std::string& s, const std::string& prefix);

/// Value arrays to hand to the store. The caller frees them.
char** newStrings(std::initializer_list<const char*> values);
int** newInts(std::initializer_list<int> values);
bool** newBools(std::initializer_list<bool> values);
double** newDoubles(std::initializer_list<double> values);

/// Frees what the store handed out or what one of the functions above made, and makes the pointer NULL again.
void freeAndReset(char*& text);
void freeAndReset(char**& array);
void freeAndReset(int**& array);
void freeAndReset(bool**& array);
void freeAndReset(double**& array);

/// Every variable that a call is to write holds something else than what is expected, before the call: a result that a
/// library leaves unwritten fails a check. project/unwritten tries each. EXPECT_WRITTEN is for a result that no check
/// looks at: an error if the variable still holds `before`, and no word otherwise. A macro, so that the error has the
/// line of the case.
#define EXPECT_WRITTEN(variable, before)                  \
    do {                                                  \
        if ((variable) == (before)) {                     \
            BOOST_ERROR(#variable " was left unwritten"); \
        }                                                 \
    } while (false)

/// What the fixtures of the settings store share: after each has written its file, open() starts the library and opens
/// the store "test". The end closes both; the file stays.
class SettingsFixture {
  public:
    SettingsFixture(const SettingsFixture&) = delete;
    SettingsFixture& operator=(const SettingsFixture&) = delete;

  protected:
    SettingsFixture() = default;
    ~SettingsFixture();
    static void open();
};

/// A key of each type with its default, key1 to key9 in the order string, int, bool, double, JSON and the arrays of
/// string, int, bool and double; and key10, a string without a default.
struct StandardSettingsFixture : SettingsFixture {
    StandardSettingsFixture();
};

/// A file, but no keys.
struct EmptySettingsFixture : SettingsFixture {
    EmptySettingsFixture();
};

/// Settings of version 19, and nothing else.
struct VersionedSettingsFixture : SettingsFixture {
    VersionedSettingsFixture();
};

/// Sixteen keys without defaults, which the case knows as well.
struct KeyListFixture : SettingsFixture {
    KeyListFixture();

    /// The values by their keys, as they are in the file.
    const std::map<std::string, std::string> _data;
};

/// The configuration store "test", with key1 to key9 of the standard settings.
struct ConfigurationFixture {
    ConfigurationFixture();
    ~ConfigurationFixture();
    ConfigurationFixture(const ConfigurationFixture&) = delete;
    ConfigurationFixture& operator=(const ConfigurationFixture&) = delete;
};

/// For the matrices of operations and keys of another type: CHECK(key, ...) for each of key1 to key9 in turn, except
/// the key `own` (written without quotes), which has the operation's type. A macro, since the literal key is part of
/// what a check prints.
#define FOR_KEYS_BUT(own, CHECK, ...) FOR_KEYS_BUT_##own(CHECK, __VA_ARGS__)

#define FOR_KEYS_BUT_key1(...) \
    FOR_EIGHT_KEYS("key2", "key3", "key4", "key5", "key6", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key2(...) \
    FOR_EIGHT_KEYS("key1", "key3", "key4", "key5", "key6", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key3(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key4", "key5", "key6", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key4(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key5", "key6", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key5(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key4", "key6", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key6(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key4", "key5", "key7", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key7(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key4", "key5", "key6", "key8", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key8(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key4", "key5", "key6", "key7", "key9", __VA_ARGS__)
#define FOR_KEYS_BUT_key9(...) \
    FOR_EIGHT_KEYS("key1", "key2", "key3", "key4", "key5", "key6", "key7", "key8", __VA_ARGS__)

#define FOR_EIGHT_KEYS(a, b, c, d, e, f, g, h, CHECK, ...) \
    CHECK(a, __VA_ARGS__);                                 \
    CHECK(b, __VA_ARGS__);                                 \
    CHECK(c, __VA_ARGS__);                                 \
    CHECK(d, __VA_ARGS__);                                 \
    CHECK(e, __VA_ARGS__);                                 \
    CHECK(f, __VA_ARGS__);                                 \
    CHECK(g, __VA_ARGS__);                                 \
    CHECK(h, __VA_ARGS__)
