// Calls every function of the interface in every situation that it may meet, and prints what it has returned, one line
// a call: the function's name, and a status, true, false, NULL or pointer. The script `statuses` compares that with
// what the headers say.
//
// It calls the interface alone, and stands in for functions of the C library.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zelva/configuration.h>
#include <zelva/debug.h>
#include <zelva/settings.h>
#include <zelva/accessors.hpp>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

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

namespace fs = std::filesystem;
using namespace zelva::core;

const char* outcome(zelva_core_status status) {
    constexpr std::array names{"ZELVA_CORE_STATUS_NO_ERROR",           "ZELVA_CORE_STATUS_INVALID_PARAMS",
                               "ZELVA_CORE_STATUS_ALLOC_FAILED",       "ZELVA_CORE_STATUS_NOT_INITIALIZED",
                               "ZELVA_CORE_STATUS_IO_FAILED",          "ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE",
                               "ZELVA_CORE_STATUS_SETTING_NOT_PRESENT"};
    static_assert(names.size() == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT + 1);
    return names.at(status);
}
const char* outcome(bool result) {
    return result ? "true" : "false";
}
const char* outcome(const void* result) {
    return result == nullptr ? "NULL" : "pointer";
}

/// One call of a function, which gives its outcome.
using Call = std::function<const char*()>;

struct Function {
    const char* name;
    std::vector<Call> calls;
};

/// A call of a function that gives the outcome itself.
template <class... Parameters, class... Arguments>
Call call(const char* (*function)(Parameters...), Arguments... arguments) {
    return [=] { return function(arguments...); };
}

#define NAMED(function) #function, function

// The keys that there are: one of each type, with a default, under the type's name.
constexpr const char* file_text =
    "DEFAULT_string = Sone\nstring = Sone\n"
    "DEFAULT_json = J{}\njson = J{}\n"
    "DEFAULT_int = I1\nint = I1\n"
    "DEFAULT_bool = BTRUE\nbool = BTRUE\n"
    "DEFAULT_double = D1\ndouble = D1\n"
    "DEFAULT_arrayofstring = ASone,two\narrayofstring = ASone,two\n"
    "DEFAULT_arrayofint = AI1,2\narrayofint = AI1,2\n"
    "DEFAULT_arrayofbool = ABTRUE,FALSE\narrayofbool = ABTRUE,FALSE\n"
    "DEFAULT_arrayofdouble = AD1,2\narrayofdouble = AD1,2\n";
constexpr const char* reserved_key = "DEFAULT_key";
constexpr const char* absent_key = "absent";

const char* key_of_other_type(const char* type) {
    return type == std::string("int") ? "string" : "int";
}

// A get, whatever it hands out.
template <class Result, class Out>
const char* call_get(Result (*get)(const char*, Out*), const char* key, bool has_out) {
    Out out{};
    return outcome(get(key, has_out ? &out : nullptr));
}
template <class Out>
const char* call_get(zelva_core_status (*get)(const char*, Out*, int*), const char* key, bool has_out) {
    Out out{};
    int length = 0;
    return outcome(get(key, has_out ? &out : nullptr, &length));
}
template <class Result, class Out>
const char* call_get(Result (*get)(const char*, Out&), const char* key, bool) {
    Out out{};
    return outcome(get(key, out));
}

template <class Get>
Function get_of(const char* name, Get* get, const char* type) {
    Function function{name, {}};
    for (const char* key :
         {static_cast<const char*>(nullptr), reserved_key, absent_key, key_of_other_type(type), type}) {
        function.calls.push_back([=] { return call_get(get, key, true); });
    }
    function.calls.push_back([=] { return call_get(get, type, false); });
    return function;
}

/// A set, whose first value is accepted; the others may be NULL or refused.
template <class Set, class Value>
Function set_of(const char* name, Set* set, const char* type, const std::vector<Value>& values) {
    Function function{name, {}};
    for (const char* key : {static_cast<const char*>(nullptr), reserved_key, "a=b", key_of_other_type(type), "new"}) {
        function.calls.push_back([=, value = values.front()]() mutable { return outcome(set(key, value)); });
    }
    for (const Value& value : values) {
        function.calls.push_back([=, value = value]() mutable { return outcome(set(type, value)); });
    }
    return function;
}

Function copy_of(const char* name, zelva_core_status (*copy)(const char*, const char*), const char* type) {
    const char* const other = key_of_other_type(type);
    const std::pair<const char*, const char*> keys[] = {{nullptr, "new"}, {type, nullptr},     {reserved_key, "new"},
                                                        {type, "a=b"},    {absent_key, "new"}, {other, "new"},
                                                        {type, other},    {type, "new"}};
    Function function{name, {}};
    for (const auto& [old_key, new_key] : keys) {
        function.calls.push_back([=, from = old_key, to = new_key] { return outcome(copy(from, to)); });
    }
    return function;
}

/// The functions of one type, with values as set_of takes them.
#define FUNCTIONS_OF_TYPE(type, Value, ...)                                                                    \
    get_of(NAMED(zelva_core_settings_get_##type##_value), #type),                                              \
        get_of(NAMED(zelva_core_settings_get_default_##type##_value), #type),                                  \
        get_of(NAMED(zelva_core_configuration_get_##type##_value), #type),                                     \
        set_of(NAMED(zelva_core_settings_set_##type##_value), #type, std::vector<Value>{__VA_ARGS__}),         \
        set_of(NAMED(zelva_core_settings_set_default_##type##_value), #type, std::vector<Value>{__VA_ARGS__}), \
        copy_of(NAMED(zelva_core_settings_copy_##type##_key), #type)
#define ACCESSORS_OF_VALUE(Name, type, Value, ...) \
    get_of(NAMED(settingsGet##Name), #type), set_of(NAMED(settingsSet##Name), #type, std::vector<Value>{__VA_ARGS__})
#define ACCESSORS_OF_DEFAULT(Name, type, Value, ...) \
    get_of(NAMED(settingsGetDefault##Name), #type),  \
        set_of(NAMED(settingsSetDefault##Name), #type, std::vector<Value>{__VA_ARGS__})

/// A function without arguments, or with each of these.
template <class Result>
Function of(const char* name, Result (*function)()) {
    return {name, {[=] { return outcome(function()); }}};
}
template <class Result, class Argument>
Function of(const char* name, Result (*function)(Argument), const std::vector<Argument>& arguments) {
    Function result{name, {}};
    for (const Argument& argument : arguments) {
        result.calls.push_back([=] { return outcome(function(argument)); });
    }
    return result;
}

/// A number that C passes, be it that of an enumerator or not.
zelva_core_durability durability(unsigned number) {
    zelva_core_durability durability{};
    static_assert(sizeof durability == sizeof number);
    std::memcpy(&durability, &number, sizeof number);
    return durability;
}

const char* tell_type(const char* key, bool has_out) {
    zelva_core_settings_type type{};
    return outcome(zelva_core_settings_get_type(key, has_out ? &type : nullptr));
}

const char* announce(bool has_out, unsigned version) {
    unsigned old = 0;
    return outcome(zelva_core_settings_get_and_set_version(has_out ? &old : nullptr, version));
}

const char* announce_where_version_is_a_string() {
    zelva_core_settings_delete_key("Version");
    zelva_core_settings_set_string_value("Version", "1");
    return announce(true, 1);
}

const char* tell_versions(bool has_old, bool has_new) {
    unsigned old_version = 0;
    unsigned new_version = 0;
    return outcome(
        zelva_core_settings_get_versions(has_old ? &old_version : nullptr, has_new ? &new_version : nullptr));
}

const char* tell_announced_versions() {
    announce(true, 1);
    return tell_versions(true, true);
}

std::vector<Function> all_functions() {
    char** const strings = zelva_core_alloc_string_array(1);
    strings[0] = strdup("new");
    char** const line_feeds = zelva_core_alloc_string_array(1);
    line_feeds[0] = strdup("a\nb");
    int** const ints = zelva_core_alloc_int_array(1);
    bool** const bools = zelva_core_alloc_bool_array(1);
    double** const doubles = zelva_core_alloc_double_array(1);
    double** const infinities = zelva_core_alloc_double_array(1);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    *infinities[0] = infinity;
    const std::vector<const char*> keys{nullptr, reserved_key, absent_key, "int"};

    return {
        FUNCTIONS_OF_TYPE(string, const char*, "new", nullptr, "a\nb"),
        FUNCTIONS_OF_TYPE(json, const char*, "[]", nullptr, "["),
        FUNCTIONS_OF_TYPE(int, int, 2),
        FUNCTIONS_OF_TYPE(bool, bool, false),
        FUNCTIONS_OF_TYPE(double, double, 2, infinity),
        FUNCTIONS_OF_TYPE(arrayofstring, char**, strings, nullptr, line_feeds),
        FUNCTIONS_OF_TYPE(arrayofint, int**, ints, nullptr),
        FUNCTIONS_OF_TYPE(arrayofbool, bool**, bools, nullptr),
        FUNCTIONS_OF_TYPE(arrayofdouble, double**, doubles, nullptr, infinities),

        ACCESSORS_OF_VALUE(String, string, std::string, "new", "a\nb"),
        ACCESSORS_OF_DEFAULT(String, string, std::string, "new", "a\nb"),
        ACCESSORS_OF_VALUE(Json, json, std::string, "[]", "["),
        ACCESSORS_OF_DEFAULT(Json, json, std::string, "[]", "["),
        ACCESSORS_OF_VALUE(Bool, bool, bool, false),
        ACCESSORS_OF_DEFAULT(Bool, bool, bool, false),
        ACCESSORS_OF_VALUE(StringVector, arrayofstring, std::vector<std::string>, {"new"}, {"a\nb"}),
        ACCESSORS_OF_DEFAULT(StringVector, arrayofstring, std::vector<std::string>, {"new"}, {"a\nb"}),
        ACCESSORS_OF_VALUE(IntVector, arrayofint, std::vector<int>, {2}),
        ACCESSORS_OF_DEFAULT(IntVector, arrayofint, std::vector<int>, {2}),
        ACCESSORS_OF_VALUE(BoolVector, arrayofbool, std::vector<bool>, {false}),
        ACCESSORS_OF_VALUE(DoubleVector, arrayofdouble, std::vector<double>, {2}, {infinity}),
        get_of(NAMED(configurationGetStringVector), "arrayofstring"),
        get_of(NAMED(configurationGetIntVector), "arrayofint"),
        get_of(NAMED(configurationGetBoolVector), "arrayofbool"),
        get_of(NAMED(configurationGetDoubleVector), "arrayofdouble"),

        of(NAMED(zelva_core_version)),
        of(NAMED(zelva_core_init)),
        of(NAMED(zelva_core_deinit)),
        of(NAMED(zelva_core_debug_get_setting_path)),
        of(NAMED(zelva_core_alloc_string_array), {0U, 2U}),
        of(NAMED(zelva_core_alloc_int_array), {0U, 2U}),
        of(NAMED(zelva_core_alloc_bool_array), {0U, 2U}),
        of(NAMED(zelva_core_alloc_double_array), {0U, 2U}),

        of(NAMED(zelva_core_configuration_init), {nullptr, "a/b", "missing", "test"}),
        of(NAMED(zelva_core_configuration_deinit)),
        of(NAMED(zelva_core_configuration_does_key_exist), keys),

        of(NAMED(zelva_core_settings_init), {nullptr, "a/b", "test"}),
        of(NAMED(zelva_core_settings_deinit)),
        of(NAMED(zelva_core_settings_set_durability), {durability(1), durability(0), durability(2)}),
        of(NAMED(zelva_core_settings_sync)),
        of(NAMED(zelva_core_settings_reload)),
        of(NAMED(zelva_core_settings_does_key_exist), keys),
        of(NAMED(zelva_core_settings_delete_key), keys),
        of(NAMED(zelva_core_settings_get_all_keys)),
        of(NAMED(zelva_core_settings_get_keys_starting_with), {nullptr, "arrayof"}),
        {"zelva_core_settings_get_type",
         {call(tell_type, nullptr, true), call(tell_type, reserved_key, true), call(tell_type, absent_key, true),
          call(tell_type, "int", true), call(tell_type, "int", false)}},
        {"zelva_core_settings_get_and_set_version",
         {call(announce, false, 1U), call(announce, true, 0U), call(announce, true, 1U),
          announce_where_version_is_a_string}},
        {"zelva_core_settings_get_versions",
         {call(tell_versions, false, true), call(tell_versions, true, false), call(tell_versions, true, true),
          tell_announced_versions}},
    };
}

/// The settings folder: a new one for each situation of each function.
std::string folder;

void write_file(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

std::string store_file() {
    return folder + "/test";
}
std::string configuration_file() {
    return folder + "/CONFIG_test";
}

[[noreturn]] void give_up(const char* what) {
    std::perror(what);
    std::_Exit(1);
}

void require(bool condition, const char* what) {
    if (!condition) {
        give_up(what);
    }
}

void open_stores() {
    require(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR, "the settings store cannot be opened");
    require(zelva_core_configuration_init("test") == ZELVA_CORE_STATUS_NO_ERROR, "the configuration cannot be opened");
}

/// Does something in another process, and waits for it.
template <class Work>
void in_child(Work&& work) {
    const pid_t child = fork();
    if (child == 0) {
        std::forward<Work>(work)();
        std::fflush(stdout);
        std::_Exit(0);
    }
    int status = -1;
    require(child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
            "a process has failed");
}

/// Now what is in memory is not what the file says.
void let_another_program_change_the_store() {
    in_child([] {
        require(zelva_core_settings_set_int_value("of another program", 1) == ZELVA_CORE_STATUS_NO_ERROR,
                "another program cannot change the store");
    });
}

void replace_by_folder(const std::string& file) {
    fs::remove(file);
    fs::create_directory(file);
}

void set_limit(decltype(RLIMIT_FSIZE) resource, rlim_t soft) {
    rlimit limit{};
    require(getrlimit(resource, &limit) == 0, "getrlimit");
    limit.rlim_cur = soft;
    require(setrlimit(resource, &limit) == 0, "setrlimit");
}

/// The folder and what is in it may be read.
void become_reader() {
    fs::permissions(folder, fs::perms(0555));
    fs::permissions(store_file(), fs::perms(0444));
    constexpr uid_t nobody = 65534;
    require(geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0, "setresuid");
}

/// What has become of the folder, the stores and the process when a function is called.
struct Situation {
    void (*prepare)();
    bool is_memory_scarce = false;
};

const Situation situations[] = {
    {[] {}},
    {[] {}, true},
    {[] {
        replace_by_folder(store_file());
        replace_by_folder(configuration_file());
    }},
    {[] {
        fs::remove_all(folder);
        write_file(folder, "");
    }},
    {become_reader},
    {open_stores},
    {[] {
        open_stores();
        let_another_program_change_the_store();
    }},
    {[] {
         open_stores();
         let_another_program_change_the_store();
     },
     true},
    {[] {
        open_stores();
        let_another_program_change_the_store();
        replace_by_folder(store_file());
        replace_by_folder(configuration_file());
    }},
    {[] {
        open_stores();
        let_another_program_change_the_store();
        set_limit(RLIMIT_NOFILE, 0);
    }},
    {[] {
        open_stores();
        std::signal(SIGXFSZ, SIG_IGN);
        set_limit(RLIMIT_FSIZE, 0);
    }},
    {[] {
        become_reader();
        open_stores();
    }},
};

/// Makes a call with its first allocation failing, then with its second, until none does.
void call_without_memory(const char* name, const Call& call) {
    for (std::size_t n = 1;; ++n) {
        has_failed = false;
        countdown = n;
        const char* const result = call();
        countdown = 0;
        if (!has_failed) {
            return;
        }
        std::printf("%s %s\n", name, result);
    }
}

void call_in(const Situation& situation, const Function& function) {
    fs::create_directory(folder);
    write_file(store_file(), file_text);
    write_file(configuration_file(), file_text);
    situation.prepare();
    for (const Call& call : function.calls) {
        if (situation.is_memory_scarce) {
            call_without_memory(function.name, call);
        } else {
            std::printf("%s %s\n", function.name, call());
        }
    }
}

}  // namespace

int main() {
    std::string work = (fs::temp_directory_path() / "statuses.XXXXXX").string();
    require(mkdtemp(work.data()) != nullptr, "mkdtemp");
    fs::permissions(work, fs::perms(0755));
    folder = work + "/folder";
    setenv("ZELVA_CORE_SETTINGS_DIR", folder.c_str(), 1);

    for (const Function& function : all_functions()) {
        for (const Situation& situation : situations) {
            in_child([&] { call_in(situation, function); });
            if (fs::is_directory(folder)) {
                fs::permissions(folder, fs::perms::owner_all);
            }
            fs::remove_all(folder);
        }
    }
    fs::remove_all(work);
    return 0;
}
