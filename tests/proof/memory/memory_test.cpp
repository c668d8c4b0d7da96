// When memory runs out: the first allocation of an operation fails, then the second, until none does. Each time the
// operation says so, hands out nothing, and leaves the store and its file as they were, and the file free for others.
//
// A program of its own, since it stands in for functions of the C library.
#include <fcntl.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zelva/debug.h>
#include <zelva/accessors.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "interposed.h"
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

/// Whether no file can be mapped.
bool maps_fail = false;

/// What becomes of the next look-ups in the user database, the first one at the end.
std::vector<int> user_database_errors;

/// Why the working directory cannot be looked up; 0 when it can.
int working_directory_error = 0;

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
void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    if (maps_fail) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, size, protection, flags, file, offset));
}
int getpwuid_r(uid_t user, passwd* entry, char* buffer, std::size_t size, passwd** found) {
    if (!user_database_errors.empty()) {
        *found = nullptr;
        const int error = user_database_errors.back();
        user_database_errors.pop_back();
        return error;
    }
    static char home[] = "/tmp";  // where any user can have settings
    const int error = real<decltype(getpwuid_r)>("getpwuid_r")(user, entry, buffer, size, found);
    entry->pw_dir = home;
    *found = entry;
    return error;
}
// By another name in here, as the headers may define that one inline.
char* look_up_working_directory(char* buffer, std::size_t size) noexcept __asm__("getcwd");
char* look_up_working_directory(char* buffer, std::size_t size) noexcept {
    if (working_directory_error != 0) {
        errno = working_directory_error;
        return nullptr;
    }
    return real<decltype(getcwd)>("getcwd")(buffer, size);
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

/// The counter of changes that programs share.
std::uint64_t counter() {
    const std::string page = read_file(shared_state_path());
    std::uint64_t number = 0;
    std::memcpy(&number, page.data(), std::min(page.size(), sizeof(number)));
    return number;
}

/// Whether somebody holds the lock that programs share.
bool is_locked() {
    const int file = open(shared_state_path().c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_len = 1;
    const bool is_held = file >= 0 && fcntl(file, F_OFD_SETLK, &lock) != 0;
    close(file);
    return is_held;
}

/// Whether programs can go on with the store's file: no change of it is under way.
bool is_at_rest() {
    return counter() % 2 == 0 && !is_locked();
}

/// What anyone can tell of the store.
struct Snapshot {
    std::map<std::string, EntryLine> lines = lines_of_file();
    Strings names = names_in_folder();
    State entries = state_of_store();

    bool operator==(const Snapshot& other) const {
        return lines == other.lines && names == other.names && entries == other.entries;
    }
};

/// Checks one operation; `before_each` is done before each call of it, and changes nothing. The last call, in which no
/// allocation fails, must succeed.
void check(
    const char* name, const std::function<zelva_core_status()>& operation,
    const std::function<void()>& before_each = [] {}) {
    BOOST_TEST_CONTEXT(name) {
        const Snapshot before;
        for (std::size_t n = 1;; ++n) {
            zelva_core_status status{};
            before_each();
            if (!call_with_failure(n, [&] { status = operation(); })) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
                BOOST_TEST_MESSAGE(name << ": " << n - 1 << " allocations");
                return;
            }
            BOOST_TEST_CONTEXT("allocation " << n) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, status);
                BOOST_CHECK(before == Snapshot());
                BOOST_CHECK(is_at_rest());
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
        [] {
            // The path may be known before there is no memory to create the folder.
            const char* path = zelva_core_debug_get_setting_path();
            return path == nullptr || path == Folder::path() ? ZELVA_CORE_STATUS_ALLOC_FAILED
                                                             : ZELVA_CORE_STATUS_NO_ERROR;
        },
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

// So does this, and the next one.
BOOST_AUTO_TEST_CASE(the_first_call_of_a_process_may_not_find_the_user_s_home) {
    const struct {
        std::vector<int> errors;
        zelva_core_status status;
    } situations[] = {{{}, ZELVA_CORE_STATUS_NO_ERROR},
                      {{ERANGE, EINTR, ERANGE}, ZELVA_CORE_STATUS_NO_ERROR},
                      {{EIO}, ZELVA_CORE_STATUS_IO_FAILED},
                      {{ENOMEM, ERANGE}, ZELVA_CORE_STATUS_ALLOC_FAILED}};
    for (const auto& situation : situations) {
        const pid_t child = fork();
        if (child == 0) {
            for (const char* name : {"ZELVA_CORE_SETTINGS_DIR", "XDG_CONFIG_HOME", "HOME"}) {
                unsetenv(name);
            }
            user_database_errors = situation.errors;
            constexpr uid_t nobody = 65534;
            const bool is_user = geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0;
            const bool passed = zelva_core_init() == situation.status && user_database_errors.empty();
            _exit(is_user && passed ? 0 : 1);
        }
        int status = -1;
        BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
        BOOST_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
}

BOOST_AUTO_TEST_CASE(the_first_call_of_a_process_may_not_find_its_working_directory) {
    const pid_t child = fork();
    if (child == 0) {
        const std::string folder = Folder::path() + "/gone";
        setenv("ZELVA_CORE_SETTINGS_DIR", "here", 1);
        const bool is_gone =
            mkdir(folder.c_str(), S_IRWXU) == 0 && chdir(folder.c_str()) == 0 && rmdir(folder.c_str()) == 0;
        int number = 0;
        _exit(is_gone && zelva_core_settings_init("test") == ZELVA_CORE_STATUS_IO_FAILED &&
                      zelva_core_settings_get_int_value("k", &number) == ZELVA_CORE_STATUS_NOT_INITIALIZED
                  ? 0
                  : 1);
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
    BOOST_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

BOOST_AUTO_TEST_CASE(the_first_call_of_a_process_may_not_be_allowed_to_find_its_working_directory) {
    const struct {
        int error;
        zelva_core_status status;
    } situations[] = {{0, ZELVA_CORE_STATUS_NO_ERROR},
                      {EACCES, ZELVA_CORE_STATUS_IO_FAILED},
                      {ENOMEM, ZELVA_CORE_STATUS_ALLOC_FAILED}};
    for (const auto& situation : situations) {
        const pid_t child = fork();
        if (child == 0) {
            const bool is_there = chdir(Folder::path().c_str()) == 0;
            setenv("ZELVA_CORE_SETTINGS_DIR", "here", 1);
            working_directory_error = situation.error;
            const bool is_right = zelva_core_init() == situation.status &&
                                  zelva_core_settings_init("test") == situation.status &&
                                  zelva_core_configuration_init("test") != ZELVA_CORE_STATUS_NO_ERROR;
            // It is found as soon as it can be.
            working_directory_error = 0;
            const bool is_found =
                zelva_core_settings_set_int_value("k", 1) ==
                    (situation.error == 0 ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_NOT_INITIALIZED) &&
                zelva_core_init() == ZELVA_CORE_STATUS_NO_ERROR;
            _exit(is_there && is_right && is_found ? 0 : 1);
        }
        int status = -1;
        BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
        BOOST_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    BOOST_CHECK_EQUAL("DEFAULT_k = I1", read_file(Folder::path() + "/here/test").substr(0, 14));
    std::filesystem::remove_all(Folder::path() + "/here");
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
    write_file(configuration_path(), OpenStore::file());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));

#define CHECK_SET(accessor, name, value)                                               \
    check(#accessor " new " #name, [&] { return accessor("new " #accessor, value); }); \
    check(#accessor " " #name, [&] { return accessor(#name, value); })
    CHECK_SET(settingsSetString, string, text);
    CHECK_SET(settingsSetDefaultString, string, text);
    CHECK_SET(settingsSetJson, json, json);
    CHECK_SET(settingsSetDefaultJson, json, json);
    CHECK_SET(settingsSetBool, bool, false);
    CHECK_SET(settingsSetDefaultBool, bool, false);
    CHECK_SET(settingsSetStringVector, arrayofstring, strings);
    CHECK_SET(settingsSetDefaultStringVector, arrayofstring, strings);
    CHECK_SET(settingsSetIntVector, arrayofint, ints);
    CHECK_SET(settingsSetDefaultIntVector, arrayofint, ints);
    CHECK_SET(settingsSetBoolVector, arrayofbool, bools);
    CHECK_SET(settingsSetDoubleVector, arrayofdouble, doubles);

    // What a getter is to fill has little room, so that each allocates.
    const auto check_get = [](const char* name, const char* key, const auto& getter, const auto& before) {
        auto object = before;
        check(name, [&] {
            const zelva_core_status status = getter(key, object);
            return status == ZELVA_CORE_STATUS_NO_ERROR || object == before ? status : ZELVA_CORE_STATUS_INVALID_PARAMS;
        });
        BOOST_CHECK(object != before);
    };
    const auto configuration = [](auto* getter) {
        return [getter](const char* key, auto& object) {
            return getter(key, object) ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_ALLOC_FAILED;
        };
    };
#define CHECK_GETTER(getter, name, before) check_get(#getter, #name, getter, before)
    CHECK_GETTER(settingsGetString, string, std::string("kept"));
    CHECK_GETTER(settingsGetDefaultString, string, std::string("kept"));
    CHECK_GETTER(settingsGetJson, json, std::string("kept"));
    CHECK_GETTER(settingsGetDefaultJson, json, std::string("kept"));
    CHECK_GETTER(settingsGetBool, bool, true);
    CHECK_GETTER(settingsGetDefaultBool, bool, true);
    CHECK_GETTER(settingsGetStringVector, arrayofstring, (Strings{"kept", "kept"}));
    CHECK_GETTER(settingsGetDefaultStringVector, arrayofstring, (Strings{"kept", "kept"}));
    CHECK_GETTER(settingsGetIntVector, arrayofint, Ints{});
    CHECK_GETTER(settingsGetDefaultIntVector, arrayofint, Ints{});
    CHECK_GETTER(settingsGetBoolVector, arrayofbool, Bools{});
    CHECK_GETTER(settingsGetDoubleVector, arrayofdouble, Doubles{});
    CHECK_GETTER(configuration(configurationGetStringVector), arrayofstring, (Strings{"kept", "kept"}));
    CHECK_GETTER(configuration(configurationGetIntVector), arrayofint, Ints{});
    CHECK_GETTER(configuration(configurationGetBoolVector), arrayofbool, Bools{});
    CHECK_GETTER(configuration(configurationGetDoubleVector), arrayofdouble, Doubles{});
    zelva_core_configuration_deinit();
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
    write_file(configuration_path(), OpenStore::file());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
    unsigned old_version = 0;
    unsigned version = 0;
    zelva_core_settings_get_and_set_version(&old_version, 5);
    int number = 0;
    bool truth = false;
    double real = 0;
    zelva_core_settings_type type{};
    BOOST_CHECK(zelva_core_settings_does_key_exist("json") && zelva_core_configuration_does_key_exist("json"));
    const std::vector<std::pair<const char*, std::function<bool()>>> calls{
        {"init", [] { return zelva_core_init() == 0; }},
        {"int", [&] { return zelva_core_settings_get_int_value("int", &number) == 0 && number == 7; }},
        {"bool", [&] { return zelva_core_settings_get_bool_value("bool", &truth) == 0 && truth; }},
        {"double", [&] { return zelva_core_settings_get_double_value("double", &real) == 0 && real == 0.1; }},
        {"default bool", [&] { return zelva_core_settings_get_default_bool_value("bool", &truth) == 0 && truth; }},
        {"default double",
         [&] { return zelva_core_settings_get_default_double_value("double", &real) == 0 && real == 0.1; }},
        {"configuration int", [&] { return zelva_core_configuration_get_int_value("int", &number) == 0; }},
        {"configuration bool", [&] { return zelva_core_configuration_get_bool_value("bool", &truth) == 0; }},
        {"configuration double", [&] { return zelva_core_configuration_get_double_value("double", &real) == 0; }},
        {"type",
         [&] { return zelva_core_settings_get_type("json", &type) == 0 && type == ZELVA_CORE_SETTING_TYPE_JSON; }},
        {"exists", [] { return zelva_core_settings_does_key_exist("json"); }},
        {"configuration exists", [] { return zelva_core_configuration_does_key_exist("json"); }},
        {"versions", [&] { return zelva_core_settings_get_versions(&old_version, &version) == 0 && version == 5; }},
        {"durability", [] { return zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL) == 0; }},
        {"configuration deinit", [] { return zelva_core_configuration_deinit() == 0; }},
    };
    for (const auto& [name, call] : calls) {
        BOOST_TEST_CONTEXT(name) {
            bool is_right = false;
            BOOST_CHECK(!call_with_failure(1, [&, &call = call] { is_right = call(); }));
            BOOST_CHECK(is_right);
        }
    }
}

BOOST_AUTO_TEST_CASE(a_value_that_no_memory_is_found_to_judge_is_judged_later) {
    for (const char* const key : {"json", "arrayofint", "arrayofstring"}) {
        BOOST_TEST_CONTEXT(key) {
            const OpenStore store(all_types());
            zelva_core_settings_type type{};
            check("type", [&] { return zelva_core_settings_get_type(key, &type); });
            BOOST_CHECK(zelva_core_settings_does_key_exist(key));
        }
        BOOST_TEST_CONTEXT(key << ", exists") {
            const OpenStore store(all_types());
            bool exists = true;
            BOOST_CHECK(call_with_failure(1, [&] { exists = zelva_core_settings_does_key_exist(key); }));
            BOOST_CHECK(!exists);
            BOOST_CHECK(zelva_core_settings_does_key_exist(key));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_write_of_any_kind_that_finds_no_memory_changes_nothing) {
    const std::string short_text(20, 's');
    const std::string half_sector(300, 'h');
    const std::string sectors(1500, 'm');
    const std::string pages(9000, 'l');
    const std::string wasteful = "k = I1\n=" + std::string(9000, 'w') + "\n# kept\n\nDEFAULT_t = Sd\nt = St\n";
    const auto set_text = [](const char* key, const std::string& value) {
        return [key, &value] { return zelva_core_settings_set_string_value(key, value.c_str()); };
    };
    const auto set_text_default = [](const char* key, const std::string& value) {
        return [key, &value] { return zelva_core_settings_set_default_string_value(key, value.c_str()); };
    };
    const auto remove = [](const char* key) { return [key] { return zelva_core_settings_delete_key(key); }; };
    const auto relax = [] { zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED); };
    const auto nothing = [] {};
    // As an editor does: the next write reads the file again.
    const auto touch = [] { write_file(store_path(), read_file(store_path())); };
    unsigned version = 0;

    const struct {
        const char* name;
        std::optional<std::string> file;
        std::function<void()> before;
        std::function<zelva_core_status()> operation;
        std::function<void()> before_each;
    } situations[] = {
        {"the first write", std::nullopt, nothing, set_text("t", short_text), nothing},
        {"the first write, of a default", std::nullopt, nothing, set_text_default("t", pages), nothing},
        {"the first version", std::nullopt, nothing,
         [&] { return zelva_core_settings_get_and_set_version(&version, 3); }, nothing},
        {"a higher version", "Version = I1\n", nothing,
         [&] { return zelva_core_settings_get_and_set_version(&version, 3); }, nothing},
        {"a lower version", "Version = I9\n", nothing,
         [&] { return zelva_core_settings_get_and_set_version(&version, 3); }, nothing},
        {"behind a line without its line feed", "t = St", nothing, set_text("t", short_text), nothing},
        {"a delete without a line feed at the end", "t = St", nothing, remove("t"), nothing},
        {"a compaction", wasteful, nothing, set_text("t", short_text), nothing},
        {"a compaction, with a new key", wasteful, nothing, set_text("n", pages), nothing},
        {"a compaction, by a delete", wasteful, nothing, remove("t"), nothing},
        {"more than a sector", "t = St\n", nothing, set_text("t", sectors), nothing},
        {"more than a page", "t = St\n", nothing, set_text("t", pages), nothing},
        {"more than a page, again", "t = S" + pages + "x\n", nothing, set_text("t", pages), nothing},
        {"a default of more than a page", "t = St\n", nothing, set_text_default("t", pages), nothing},
        {"two lines of more than a sector", "t = St\n", nothing, set_text("n", half_sector), nothing},
        {"two lines of more than a sector each", "t = St\n", nothing, set_text("n", sectors), nothing},
        {"a file that grows", "t = S" + std::string(4085, 'x') + "\n", nothing, set_text("n", short_text), nothing},
        {"a file that ends with damage", "t = St\n" + std::string(100, '\0'), nothing, set_text("t", short_text),
         nothing},
        {"a delete", "DEFAULT_t = Sd\nt = St\n", nothing, remove("t"), nothing},
        {"a delete with earlier lines", "t = Sa\nt = Sb\nDEFAULT_t = Sd\nt = St\n", nothing, remove("t"), nothing},
        {"a delete of what has just been written", "t = Sa\n", set_text("t", sectors), remove("t"), nothing},
        {"a copy", "t = S" + pages + "\n", nothing, [] { return zelva_core_settings_copy_string_key("t", "n"); },
         nothing},
        {"what is there already", "t = S" + short_text + "\n", nothing, set_text("t", short_text), nothing},
        {"relaxed", "t = St\n", relax, set_text("t", short_text), nothing},
        {"relaxed, a new key", "t = St\n", relax, set_text("n", half_sector), nothing},
        {"relaxed, more than a page", "t = St\n", relax, set_text("t", pages), nothing},
        {"relaxed, a delete", "DEFAULT_t = Sd\nt = St\n", relax, remove("t"), nothing},
        {"relaxed, a delete with an earlier line", "t = Sa\nDEFAULT_t = Sd\nt = St\n", relax, remove("t"), nothing},
        {"relaxed, a compaction", wasteful, relax, set_text("t", short_text), nothing},
        {"a sync", "t = St\n", nothing, zelva_core_settings_sync, nothing},
        {"a sync without a file", std::nullopt, nothing, zelva_core_settings_sync, nothing},
        {"a sync after relaxed writes", "t = St\n",
         [&] {
             relax();
             set_text("t", short_text)();
             set_text("n", sectors)();
             remove("n")();
         },
         zelva_core_settings_sync, nothing},
        {"after an editor", "t = St\n", nothing, set_text("t", short_text), touch},
        {"a delete after an editor", "t = St\n", nothing, remove("t"), touch},
        {"a sync after an editor", "t = St\n", nothing, zelva_core_settings_sync, touch},
        {"a reload", "t = St\n", nothing, zelva_core_settings_reload, nothing},
        {"a reload after an editor", "t = St\n", nothing, zelva_core_settings_reload, touch},
        {"with a shared state that is gone", "t = St\n", nothing, set_text("t", short_text),
         [] { std::filesystem::remove(shared_state_path()); }},
    };
    // A write that follows a failed one may take fewer allocations than that: it is also made the first one of a store
    // that was just opened, each time.
    for (const bool is_first : {false, true})
        for (const auto& situation : situations) {
            BOOST_TEST_CONTEXT(situation.name) {
                const std::size_t open_files = number_of_open_files();
                std::filesystem::remove(store_path());
                if (situation.file) {
                    write_file(store_path(), *situation.file);
                }
                BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
                situation.before();
                check(situation.name, situation.operation, [&] {
                    if (is_first) {
                        OpenStore::restart();
                        situation.before();
                    }
                    situation.before_each();
                });
                const Snapshot after;
                OpenStore::restart();
                BOOST_CHECK(after == Snapshot());
                zelva_core_settings_deinit();
                BOOST_CHECK_EQUAL(open_files, number_of_open_files());
            }
        }
    std::filesystem::remove(store_path());
}

// The list of replaced lines, which these writes add to, is full at some of them. A write that follows a failed one may
// take other ways, so that some allocations of this one would never fail: each finds the file just read.
BOOST_AUTO_TEST_CASE(a_relaxed_write_that_finds_no_memory_changes_nothing_however_many_lines_are_replaced) {
    const OpenStore store("t = St\nDEFAULT_new = Sd\n");
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("t", std::string("opens the file")));
    for (int i = 0; i < 20; ++i) {
        const std::string text = "t" + std::to_string(i);
        check(
            "relaxed", [&text] { return zelva_core_settings_set_string_value("t", text.c_str()); },
            zelva_core_settings_reload);
    }
    check(
        "relaxed, with an old default", [] { return zelva_core_settings_set_string_value("new", "n"); },
        zelva_core_settings_reload);
}

BOOST_AUTO_TEST_CASE(a_write_that_finds_no_memory_half_way_leaves_nothing_behind_unknown) {
    // The default fits into the file's padding; for the value the file is to grow, which takes memory.
    const std::string text(300, 'x');
    const OpenStore store("k = S" + std::string(3450, 'k') + "\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("i", 1));
    bool has_failed = true;
    for (std::size_t n = 1; has_failed; ++n) {
        struct stat before {};
        struct stat after {};
        stat(store_path().c_str(), &before);
        has_failed = call_with_failure(n, [&] { zelva_core_settings_set_string_value("n", text.c_str()); });
        stat(store_path().c_str(), &after);
        // As on a system with a coarse clock.
        const timespec times[] = {before.st_atim, before.st_mtim};
        BOOST_REQUIRE_EQUAL(0, has_failed ? utimensat(AT_FDCWD, store_path().c_str(), times, 0) : 0);
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("n"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_sync());
    BOOST_CHECK_EQUAL(std::string::npos, OpenStore::file().find("DEFAULT_n"));
}

BOOST_AUTO_TEST_CASE(a_write_after_the_death_of_a_program_that_finds_no_memory_leaves_the_file_to_others) {
    const OpenStore store("k = I1\n");
    bool has_failed = true;
    for (std::size_t n = 1; has_failed; ++n) {
        const std::uint64_t odd = counter() | 1U;
        std::ofstream(shared_state_path(), std::ios::binary | std::ios::in)
            .write(reinterpret_cast<const char*>(&odd), sizeof(odd));
        zelva_core_status status{};
        has_failed = call_with_failure(n, [&] { status = zelva_core_settings_set_int_value("k", 2); });
        BOOST_CHECK_EQUAL(has_failed ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
        BOOST_CHECK_EQUAL(Value(has_failed ? 1 : 2), value_of("k"));
        BOOST_CHECK(!is_locked());
    }
    BOOST_CHECK(is_at_rest());
}

BOOST_AUTO_TEST_CASE(a_reload_that_finds_no_memory_keeps_what_the_store_held) {
    const OpenStore store(all_types());
    write_file(store_path(), "new = I1\n");
    check("reload", zelva_core_settings_reload);
    BOOST_CHECK(Strings{"new"} == keys());
}

BOOST_AUTO_TEST_CASE(a_read_after_another_program_s_write_that_finds_no_memory_hands_out_nothing_old) {
    const OpenStore store(all_types());
    int version = 0;
    const auto write_in_another_program = [&version] {
        const pid_t child = fork();
        if (child == 0) {
            _exit(set("int", version + 1));
        }
        ++version;
        int status = -1;
        BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
        BOOST_REQUIRE_EQUAL(0, status);
    };
    const auto without_version = [] {
        Snapshot state;
        state.entries.erase("int");
        state.lines.erase("int");
        return state;
    };
    const auto status_if = [](bool is_done) {
        return is_done ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_ALLOC_FAILED;
    };
    int number = 0;
    std::string text;
    zelva_core_settings_type type{};
    const std::vector<std::pair<const char*, std::function<zelva_core_status()>>> reads{
        {"get", [&] { return zelva_core_settings_get_int_value("int", &number); }},
        {"get default", [&] { return zelva_core_settings_get_default_int_value("int", &number); }},
        {"accessor", [&] { return zelva::core::settingsGetString("string", text); }},
        {"type", [&] { return zelva_core_settings_get_type("int", &type); }},
        {"exists", [&] { return status_if(zelva_core_settings_does_key_exist("int")); }},
        {"all keys",
         [&] {
             char** list = zelva_core_settings_get_all_keys();
             zelva_core_free_string_array(list);
             return status_if(list != nullptr);
         }},
        {"set", [&] { return zelva_core_settings_set_bool_value("bool", version % 2 == 0); }},
        {"delete", [] { return zelva_core_settings_delete_key("string2"); }},
    };
    for (const auto& [name, read] : reads) {
        BOOST_TEST_CONTEXT(name) {
            const Snapshot before = without_version();
            bool has_failed = true;
            for (std::size_t n = 1; has_failed; ++n) {
                write_in_another_program();
                zelva_core_status status{};
                has_failed = call_with_failure(n, [&, &read = read] { status = read(); });
                BOOST_CHECK_EQUAL(has_failed ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
                BOOST_CHECK_EQUAL(Value(version), value_of("int"));
                BOOST_CHECK(!has_failed || before == without_version());
                BOOST_CHECK(is_at_rest());
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(an_init_that_finds_no_memory_leaves_the_store_closed) {
    const std::string text = all_types();
    const std::string leftover = Folder::path() + "/.zelva-test";
    const struct {
        const char* name;
        zelva_core_status (*init)(const char*);
        zelva_core_status (*deinit)();
        std::function<void()> before_each;
    } situations[] = {
        {"configuration", zelva_core_configuration_init, zelva_core_configuration_deinit,
         [&] { write_file(configuration_path(), text); }},
        {"settings", zelva_core_settings_init, zelva_core_settings_deinit, [&] { write_file(store_path(), text); }},
        {"settings without a file", zelva_core_settings_init, zelva_core_settings_deinit,
         [] { std::filesystem::remove(store_path()); }},
        {"settings without a folder", zelva_core_settings_init, zelva_core_settings_deinit,
         [] { std::filesystem::remove_all(Folder::path()); }},
        {"settings that a program has died with", zelva_core_settings_init, zelva_core_settings_deinit,
         [&] {
             write_file(leftover, text);
             write_file(shared_state_path(), "\1" + std::string(4095, '\0'));
         }},
    };
    for (const auto& situation : situations) {
        BOOST_TEST_CONTEXT(situation.name) {
            const std::size_t open_files = number_of_open_files();
            bool has_failed = true;
            for (std::size_t n = 1; has_failed; ++n) {
                situation.before_each();
                zelva_core_status status{};
                has_failed = call_with_failure(n, [&] { status = situation.init("test"); });
                BOOST_CHECK_EQUAL(has_failed ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
                BOOST_CHECK_EQUAL(has_failed ? ZELVA_CORE_STATUS_NOT_INITIALIZED : ZELVA_CORE_STATUS_NO_ERROR,
                                  situation.deinit());
                BOOST_CHECK_EQUAL(open_files, number_of_open_files());
                BOOST_CHECK_EQUAL(std::string::npos, read_file("/proc/self/maps").find("/.zelva/"));
            }
        }
    }
    BOOST_CHECK(!std::filesystem::exists(leftover));
    std::filesystem::remove(configuration_path());
}

BOOST_AUTO_TEST_CASE(a_deinit_that_finds_no_memory_closes_the_store) {
    const std::size_t open_files = number_of_open_files();
    int failures = 0;
    for (const auto deinit : {zelva_core_settings_deinit, zelva_core_deinit}) {
        bool has_failed = true;
        for (std::size_t n = 1; has_failed; ++n) {
            write_file(store_path(), "k = I1\n");
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
            std::filesystem::remove(shared_state_path());  // to make it again takes memory
            zelva_core_status status{};
            has_failed = call_with_failure(n, [&] { status = deinit(); });
            failures += has_failed ? 1 : 0;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
            BOOST_CHECK_EQUAL("k = I2", lines_of_file().at("k").text);
            BOOST_CHECK(is_at_rest());
            BOOST_CHECK_EQUAL(open_files, number_of_open_files());
        }
    }
    BOOST_CHECK_GT(failures, 0);
    std::filesystem::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_write_that_finds_no_memory_for_what_programs_share_changes_nothing) {
    // The store is opened without it.
    std::filesystem::remove(shared_state_path());
    std::filesystem::create_directories(shared_state_path());
    const OpenStore store("k = I1\n");
    std::filesystem::remove(shared_state_path());
    bool has_failed = true;
    for (std::size_t n = 1; has_failed; ++n) {
        zelva_core_status status{};
        has_failed = call_with_failure(n, [&] { status = zelva_core_settings_set_int_value("k", 2); });
        BOOST_CHECK_EQUAL(has_failed ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_NO_ERROR, status);
        BOOST_CHECK_EQUAL(Value(has_failed ? 1 : 2), value_of("k"));
    }
    BOOST_CHECK(is_at_rest());
}

BOOST_AUTO_TEST_CASE(a_store_whose_counter_cannot_be_mapped_reads_and_is_not_written) {
    maps_fail = true;
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, set("k", 2));
    write_file(store_path(), "k = I10\n");
    BOOST_CHECK_EQUAL(Value(10), value_of("k"));
    maps_fail = false;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK(is_at_rest());
}

// Of the library for tests, which this program alone links.
BOOST_AUTO_TEST_CASE(who_asks_for_the_path_of_the_settings_may_put_a_file_there) {
    std::filesystem::remove_all(Folder::path());
    BOOST_CHECK_EQUAL(Folder::path(), zelva_core_debug_get_setting_path());
    BOOST_CHECK(std::filesystem::is_directory(Folder::path()));
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
