// Stands before the library that testSettings is linked against: hands each call that reads on to it, and leaves some
// of what the call hands out unwritten, as a faulty library would.
//
// A result is one out-parameter of one call that succeeds. Its number is that of the call among those that read and
// succeed, counted from 1, and the parameter's place. Its name is the test case, the function and the place. UNWRITTEN
// is the number of the result that is left unwritten, or the name of those that are. RESULTS is a file that gets the
// number and the name of each result, a line each.
#include <dlfcn.h>
#include <zelva/configuration.h>
#include <zelva/settings.h>
#include <zelva/accessors.hpp>

#include <cstdlib>
#include <fstream>
#include <utility>

#define BOOST_TEST_DYN_LINK
#include <boost/test/unit_test.hpp>

namespace {

int calls_that_read = 0;

const char* environment(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr ? value : "";
}

bool is_left_unwritten(const char* function, int place) {
    static const std::string left_unwritten = environment("UNWRITTEN");
    static std::ofstream results(environment("RESULTS"));
    const std::string number = std::to_string(calls_that_read) + '.' + std::to_string(place);
    const std::string name =
        boost::unit_test::framework::current_test_case().full_name() + ' ' + function + ' ' + std::to_string(place);
    results << number << ' ' << name << '\n';
    return left_unwritten == number || left_unwritten == name;
}

// An argument that the library gets as the caller passed it.
template <class T>
struct In {
    In(T argument) : passed(argument) {}
    T for_library() const { return passed; }
    void hand_out(const char* /*function*/, int /*place*/) const {}
    T passed;
};

// An out-parameter: the library writes a variable of this object.
template <class T>
struct Out {
    Out(T* argument) : passed(argument) {}
    T* for_library() { return passed != nullptr ? &result : nullptr; }
    void hand_out(const char* function, int place) {
        if (passed != nullptr && !is_left_unwritten(function, place)) {
            *passed = std::move(result);
        }
    }
    T* passed;
    T result{};
};

template <class Parameter>
struct Argument : In<Parameter> {
    using In<Parameter>::In;
};
template <>
struct Argument<const char*> : In<const char*> {
    using In::In;
};
template <class T>
struct Argument<T*> : Out<T> {
    using Out<T>::Out;
};
template <class T>
struct Argument<T&> : Out<T> {
    Argument(T& argument) : Out<T>(&argument) {}
    T& for_library() { return this->result; }
};

bool has_succeeded(zelva_core_status status) {
    return status == ZELVA_CORE_STATUS_NO_ERROR;
}
bool has_succeeded(bool success) {
    return success;
}

// The library's function of the same name as this one here.
template <class Function>
Function* next(Function* function) {
    Dl_info info;
    dladdr(reinterpret_cast<void*>(function), &info);
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, info.dli_sname));
}

template <class Result, class... Parameter>
auto hand_on(Result (*function)(Parameter...), const char* name) {
    return [=](Argument<Parameter>... argument) {
        const Result result = next(function)(argument.for_library()...);
        if (has_succeeded(result)) {
            ++calls_that_read;
            int place = 0;
            (argument.hand_out(name, ++place), ...);
        }
        return result;
    };
}

}  // namespace

#define HAND_ON(Result, function, parameters, ...)         \
    Result function parameters {                           \
        return hand_on(&function, #function)(__VA_ARGS__); \
    }

#define HAND_ON_GETS(type, parameters, ...)                                                             \
    HAND_ON(zelva_core_status, zelva_core_settings_get_##type##_value, parameters, __VA_ARGS__)         \
    HAND_ON(zelva_core_status, zelva_core_settings_get_default_##type##_value, parameters, __VA_ARGS__) \
    HAND_ON(zelva_core_status, zelva_core_configuration_get_##type##_value, parameters, __VA_ARGS__)

HAND_ON_GETS(string, (const char* key, char** value), key, value)
HAND_ON_GETS(json, (const char* key, char** value), key, value)
HAND_ON_GETS(int, (const char* key, int* value), key, value)
HAND_ON_GETS(bool, (const char* key, bool* value), key, value)
HAND_ON_GETS(double, (const char* key, double* value), key, value)
HAND_ON_GETS(arrayofstring, (const char* key, char*** value, int* length), key, value, length)
HAND_ON_GETS(arrayofint, (const char* key, int*** value, int* length), key, value, length)
HAND_ON_GETS(arrayofbool, (const char* key, bool*** value, int* length), key, value, length)
HAND_ON_GETS(arrayofdouble, (const char* key, double*** value, int* length), key, value, length)

HAND_ON(zelva_core_status, zelva_core_settings_get_type, (const char* key, zelva_core_settings_type* type), key, type)
HAND_ON(zelva_core_status, zelva_core_settings_get_and_set_version, (unsigned* oldVersion, unsigned newVersion),
        oldVersion, newVersion)
HAND_ON(zelva_core_status, zelva_core_settings_get_versions, (unsigned* oldVersion, unsigned* newVersion), oldVersion,
        newVersion)

#define HAND_ON_ACCESSOR(Result, function, T) HAND_ON(Result, function, (const char* key, T& value), key, value)

namespace zelva::core {

HAND_ON_ACCESSOR(zelva_core_status, settingsGetString, std::string)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDefaultString, std::string)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetJson, std::string)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDefaultJson, std::string)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetBool, bool)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDefaultBool, bool)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetIntVector, std::vector<int>)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDefaultIntVector, std::vector<int>)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetStringVector, std::vector<std::string>)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDefaultStringVector, std::vector<std::string>)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetBoolVector, std::vector<bool>)
HAND_ON_ACCESSOR(zelva_core_status, settingsGetDoubleVector, std::vector<double>)
HAND_ON_ACCESSOR(bool, configurationGetStringVector, std::vector<std::string>)
HAND_ON_ACCESSOR(bool, configurationGetIntVector, std::vector<int>)
HAND_ON_ACCESSOR(bool, configurationGetBoolVector, std::vector<bool>)
HAND_ON_ACCESSOR(bool, configurationGetDoubleVector, std::vector<double>)

}  // namespace zelva::core
