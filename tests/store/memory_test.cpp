// When memory runs out: the first allocation of an operation fails, then the second, until none does. Each time the
// operation says so, hands out nothing, and leaves the store and its file as they were.
//
// A program of its own, since it stands in for the C library's allocation functions.
#include <sys/wait.h>
#include <unistd.h>
#include <zelva/accessors.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "support.h"

// glibc's own names for the functions that are replaced here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

/// The number of allocations up to the one that fails; 0 when none is to.
std::size_t countdown = 0;
bool has_failed = false;

bool fails() {
    if (countdown == 0 || --countdown > 0) {
        return false;
    }
    has_failed = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}
}

namespace {

/// Calls an operation with its n-th allocation failing; whether one did.
template <class Operation>
bool call_with_failure(std::size_t n, const Operation& operation) {
    has_failed = false;
    countdown = n;
    operation();
    countdown = 0;
    return has_failed;
}

struct State {
    std::string file = OpenStore::file();
    Strings names = keys();
    std::vector<Value> values = read();

    std::vector<Value> read() const {
        std::vector<Value> all;
        for (const std::string& name : names) {
            all.push_back(value_of(name));
        }
        return all;
    }
    bool operator==(const State& other) const {
        return file == other.file && names == other.names && values == other.values;
    }
};

/// Checks one operation. The last call, in which no allocation fails, must succeed.
void check(const char* name, const std::function<zelva_core_status()>& operation) {
    BOOST_TEST_CONTEXT(name) {
        const State before;
        for (std::size_t n = 1;; ++n) {
            zelva_core_status status{};
            if (!call_with_failure(n, [&] { status = operation(); })) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
                BOOST_TEST_MESSAGE(name << ": " << n - 1 << " allocations");
                return;
            }
            BOOST_TEST_CONTEXT("allocation " << n) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, status);
                BOOST_CHECK(before == State());
            }
        }
    }
}

/// Checks a get, whose variable must stay NULL when it fails.
template <class Pointer, class Get, class Free>
void check_get(const char* name, const Get& get, const Free& free) {
    Pointer value = nullptr;
    check(name, [&] {
        const zelva_core_status status = get(&value);
        if (status == ZELVA_CORE_STATUS_NO_ERROR) {
            free(value);
            value = nullptr;
        }
        return value == nullptr ? status : ZELVA_CORE_STATUS_INVALID_PARAMS;
    });
}

constexpr const char* long_text = "a text that is too long for the short form of a string";

/// A key of each type under its name, and their defaults.
std::string all_types() {
    const OpenStore store;
    for (const TypeFunctions& type : types()) {
        set_default(type.name, type.first);
    }
    set("string2", std::string(long_text));
    return OpenStore::file();
}

}  // namespace

BOOST_AUTO_TEST_SUITE(memory)

// Stands first, since it needs a process that has not called the library yet.
BOOST_AUTO_TEST_CASE(the_first_call_of_a_process_may_find_no_memory) {
    int number = 0;
    const std::vector<std::function<zelva_core_status()>> calls{
        [] { return zelva_core_init(); },
        [] { return zelva_core_deinit(); },
        [] { return zelva_core_settings_init("test"); },
        [] { return zelva_core_configuration_init("test"); },
        [&number] { return zelva_core_settings_get_int_value("k", &number); },
        [&number] { return zelva_core_configuration_get_int_value("k", &number); },
    };
    for (const auto& call : calls) {
        for (std::size_t n = 1;; ++n) {
            const pid_t child = fork();
            if (child == 0) {
                zelva_core_status status{};
                const bool failed = call_with_failure(n, [&] { status = call(); });
                _exit(!failed ? 0 : status == ZELVA_CORE_STATUS_ALLOC_FAILED ? 1 : 2);
            }
            int status = -1;
            BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
            BOOST_REQUIRE(WIFEXITED(status));
            BOOST_REQUIRE_NE(2, WEXITSTATUS(status));
            if (WEXITSTATUS(status) == 0) {
                break;
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(a_get_that_finds_no_memory_hands_out_nothing) {
    const OpenStore store(all_types());
    write_file(configuration_path(), OpenStore::file());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
    int length = -1;

#define CHECK_GET(verb, Pointer, release, ...) \
    check_get<Pointer>(                        \
        #verb, [&](Pointer* value) { return zelva_core_##verb(__VA_ARGS__); }, [](Pointer value) { release(value); })
#define CHECK_GETS(verb)                                                                                          \
    CHECK_GET(verb##_string_value, char*, std::free, "string", value);                                            \
    CHECK_GET(verb##_json_value, char*, std::free, "json", value);                                                \
    CHECK_GET(verb##_arrayofstring_value, char**, zelva_core_free_string_array, "arrayofstring", value, &length); \
    CHECK_GET(verb##_arrayofint_value, int**, zelva_core_free_int_array, "arrayofint", value, &length);           \
    CHECK_GET(verb##_arrayofbool_value, bool**, zelva_core_free_bool_array, "arrayofbool", value, &length);       \
    CHECK_GET(verb##_arrayofdouble_value, double**, zelva_core_free_double_array, "arrayofdouble", value, &length)

    CHECK_GETS(settings_get);
    CHECK_GETS(settings_get_default);
    CHECK_GETS(configuration_get);
    zelva_core_configuration_deinit();
}

BOOST_AUTO_TEST_CASE(a_write_that_finds_no_memory_changes_nothing) {
    const OpenStore store(all_types());
    char** strings = zelva_core_alloc_string_array(1);
    strings[0] = strdup("element");
    int** ints = zelva_core_alloc_int_array(2);
    bool** bools = zelva_core_alloc_bool_array(2);
    double** doubles = zelva_core_alloc_double_array(2);

#define CHECK_SETS(set, name, value)                                                                                 \
    check(#set " new " #name, [&] { return zelva_core_settings_##set##_##name##_value("new_" #set #name, value); }); \
    check(#set " " #name, [&] { return zelva_core_settings_##set##_##name##_value(#name, value); })
#define CHECK_WRITES(name, value)         \
    CHECK_SETS(set, name, value);         \
    CHECK_SETS(set_default, name, value); \
    check("copy " #name, [] { return zelva_core_settings_copy_##name##_key(#name, "copy_" #name); })

    CHECK_WRITES(string, long_text);
    CHECK_WRITES(json, "{\"a\":[1,\"b\",{\"a long name that needs memory\":null}]}");
    CHECK_WRITES(int, 5);
    CHECK_WRITES(bool, true);
    CHECK_WRITES(double, 0.1);
    CHECK_WRITES(arrayofstring, strings);
    CHECK_WRITES(arrayofint, ints);
    CHECK_WRITES(arrayofbool, bools);
    CHECK_WRITES(arrayofdouble, doubles);

    check("delete", [] { return zelva_core_settings_delete_key("string2"); });
    unsigned version = 0;
    check("version", [&version] { return zelva_core_settings_get_and_set_version(&version, 3); });

    zelva_core_free_string_array(strings);
    zelva_core_free_int_array(ints);
    zelva_core_free_bool_array(bools);
    zelva_core_free_double_array(doubles);
}

BOOST_AUTO_TEST_CASE(an_accessor_that_finds_no_memory_changes_nothing) {
    using namespace zelva::core;
    const OpenStore store(all_types());
    const std::string text = long_text;
    const std::string json = "[ \"" + text + "\" ]";
    const Strings strings{text, text};
    const Ints ints{1, 2};
    Bools bools{true};
    Doubles doubles{1};
    check("settingsSetString", [&] { return settingsSetString("string", text); });
    check("settingsSetDefaultString", [&] { return settingsSetDefaultString("new_string", text); });
    check("settingsSetJson", [&] { return settingsSetJson("json", json); });
    check("settingsSetDefaultJson", [&] { return settingsSetDefaultJson("new_json", json); });
    check("settingsSetBool", [&] { return settingsSetBool("bool", false); });
    check("settingsSetStringVector", [&] { return settingsSetStringVector("arrayofstring", strings); });
    check("settingsSetIntVector", [&] { return settingsSetIntVector("new_ints", ints); });
    check("settingsSetBoolVector", [&] { return settingsSetBoolVector("arrayofbool", bools); });
    check("settingsSetDoubleVector", [&] { return settingsSetDoubleVector("new_doubles", doubles); });

    // What a getter is to fill has little room, so that each allocates.
    const auto check_get = [](const char* name, const char* key, auto* getter, const auto& before) {
        auto object = before;
        check(name, [&] {
            const zelva_core_status status = getter(key, object);
            return status == ZELVA_CORE_STATUS_NO_ERROR || object == before ? status : ZELVA_CORE_STATUS_INVALID_PARAMS;
        });
        BOOST_CHECK(object != before);
    };
    check_get("settingsGetString", "string", settingsGetString, std::string("kept"));
    check_get("settingsGetJson", "json", settingsGetJson, std::string("kept"));
    check_get("settingsGetStringVector", "arrayofstring", settingsGetStringVector, Strings{"kept", "kept"});
    check_get("settingsGetIntVector", "new_ints", settingsGetIntVector, Ints{});
    check_get("settingsGetBoolVector", "arrayofbool", settingsGetBoolVector, Bools{});
    check_get("settingsGetDoubleVector", "new_doubles", settingsGetDoubleVector, Doubles{});
}

BOOST_AUTO_TEST_CASE(a_list_that_finds_no_memory_is_NULL) {
    const OpenStore store(all_types());
    const auto status_of = [](char** list) {
        zelva_core_free_string_array(list);
        return list == nullptr ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_NO_ERROR;
    };
    check("all keys", [&] { return status_of(zelva_core_settings_get_all_keys()); });
    check("keys by prefix", [&] { return status_of(zelva_core_settings_get_keys_starting_with("s")); });
}

BOOST_AUTO_TEST_CASE(what_needs_no_memory_works_without_it) {
    const OpenStore store(all_types());
    int number = 0;
    bool truth = false;
    double real = 0;
    zelva_core_settings_type type{};
    bool exists = false;
    const bool failed = call_with_failure(1, [&] {
        zelva_core_settings_get_int_value("int", &number);
        zelva_core_settings_get_bool_value("bool", &truth);
        zelva_core_settings_get_double_value("double", &real);
        zelva_core_settings_get_type("string", &type);
        exists = zelva_core_settings_does_key_exist("json");
    });
    BOOST_CHECK(!failed);
    BOOST_CHECK(number == 7 && truth && real == 0.1 && type == ZELVA_CORE_SETTING_TYPE_STRING && exists);
}

BOOST_AUTO_TEST_CASE(an_init_that_finds_no_memory_leaves_the_store_closed) {
    write_file(store_path(), all_types());
    write_file(configuration_path(), read_file(store_path()));
    const auto check_init = [](zelva_core_status init(const char*), zelva_core_status deinit()) {
        for (std::size_t n = 1;; ++n) {
            zelva_core_status status{};
            if (!call_with_failure(n, [&] { status = init("test"); })) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, deinit());
                return;
            }
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, deinit());
        }
    };
    check_init(zelva_core_settings_init, zelva_core_settings_deinit);
    check_init(zelva_core_configuration_init, zelva_core_configuration_deinit);
    std::filesystem::remove(store_path());
    std::filesystem::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(an_array_that_finds_no_memory_is_NULL) {
    const auto check_array = [](auto* allocate, auto* release) {
        for (const unsigned size : {0U, 5U}) {
            for (std::size_t n = 1;; ++n) {
                decltype(allocate(0)) array = nullptr;
                const bool failed = call_with_failure(n, [&] { array = allocate(size); });
                BOOST_CHECK_EQUAL(failed, array == nullptr);
                release(array);
                if (!failed) {
                    break;
                }
            }
        }
    };
    check_array(zelva_core_alloc_string_array, zelva_core_free_string_array);
    check_array(zelva_core_alloc_int_array, zelva_core_free_int_array);
    check_array(zelva_core_alloc_bool_array, zelva_core_free_bool_array);
    check_array(zelva_core_alloc_double_array, zelva_core_free_double_array);
}

BOOST_AUTO_TEST_SUITE_END()
