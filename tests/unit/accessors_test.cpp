// The accessors for C++: what they add to the functions that they stand for.
#include <zelva/accessors.hpp>

#include <filesystem>
#include <string>
#include <type_traits>

#include "support.h"

using namespace std::string_literals;
using namespace zelva::core;

namespace {

template <class Object>
using Getter = zelva_core_status(const char*, Object&);
template <class Argument>
using Setter = zelva_core_status(const char*, Argument);
template <class Element>
using ConfigurationGetter = bool(const char*, std::vector<Element>&);

// The argument types are part of the interface.
static_assert(std::is_same_v<decltype(settingsGetString), Getter<std::string>>);
static_assert(std::is_same_v<decltype(settingsSetString), Setter<const std::string&>>);
static_assert(std::is_same_v<decltype(settingsGetDefaultString), Getter<std::string>>);
static_assert(std::is_same_v<decltype(settingsSetDefaultString), Setter<const std::string&>>);
static_assert(std::is_same_v<decltype(settingsGetJson), Getter<std::string>>);
static_assert(std::is_same_v<decltype(settingsSetJson), Setter<const std::string&>>);
static_assert(std::is_same_v<decltype(settingsGetDefaultJson), Getter<std::string>>);
static_assert(std::is_same_v<decltype(settingsSetDefaultJson), Setter<const std::string&>>);
static_assert(std::is_same_v<decltype(settingsGetBool), Getter<bool>>);
static_assert(std::is_same_v<decltype(settingsSetBool), Setter<bool>>);
static_assert(std::is_same_v<decltype(settingsGetDefaultBool), Getter<bool>>);
static_assert(std::is_same_v<decltype(settingsSetDefaultBool), Setter<bool>>);
static_assert(std::is_same_v<decltype(settingsGetIntVector), Getter<Ints>>);
static_assert(std::is_same_v<decltype(settingsSetIntVector), Setter<const Ints&>>);
static_assert(std::is_same_v<decltype(settingsGetDefaultIntVector), Getter<Ints>>);
static_assert(std::is_same_v<decltype(settingsSetDefaultIntVector), Setter<const Ints&>>);
static_assert(std::is_same_v<decltype(settingsGetStringVector), Getter<Strings>>);
static_assert(std::is_same_v<decltype(settingsSetStringVector), Setter<const Strings&>>);
static_assert(std::is_same_v<decltype(settingsGetDefaultStringVector), Getter<Strings>>);
static_assert(std::is_same_v<decltype(settingsSetDefaultStringVector), Setter<const Strings&>>);
static_assert(std::is_same_v<decltype(settingsGetBoolVector), Getter<Bools>>);
static_assert(std::is_same_v<decltype(settingsSetBoolVector), Setter<Bools&>>);
static_assert(std::is_same_v<decltype(settingsGetDoubleVector), Getter<Doubles>>);
static_assert(std::is_same_v<decltype(settingsSetDoubleVector), Setter<Doubles&>>);
static_assert(std::is_same_v<decltype(configurationGetStringVector), ConfigurationGetter<std::string>>);
static_assert(std::is_same_v<decltype(configurationGetIntVector), ConfigurationGetter<int>>);
static_assert(std::is_same_v<decltype(configurationGetBoolVector), ConfigurationGetter<bool>>);
static_assert(std::is_same_v<decltype(configurationGetDoubleVector), ConfigurationGetter<double>>);

/// The accessors of one kind of value. The default accessors are nullptr where there are none.
template <class Object, class Argument>
struct Accessors {
    Getter<Object>* get;
    Setter<Argument>* set;
    Getter<Object>* get_default;
    Setter<Argument>* set_default;
};

/// Checks set, get and the defaults through the accessors, and that the C functions see the same.
template <class T, class Object, class Argument>
void check(const Accessors<Object, Argument>& accessors, Object first, Object second) {
    const OpenStore store("wrong = X\nint = I1\n");
    Object got = second;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, accessors.get("k", got));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, accessors.get("int", got));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.get("DEFAULT_k", got));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.get(nullptr, got));
    BOOST_CHECK(got == second);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.set(nullptr, first));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.set("DEFAULT_k", first));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.set("a=b", first));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, accessors.set("int", first));

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.set("k", first));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.get("k", got));
    BOOST_CHECK(got == first);
    BOOST_CHECK_EQUAL(Value(T{first}), value_of("k"));
    BOOST_CHECK_EQUAL(Value(T{first}), get_default("k").value);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", T{second}));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.get("k", got));
    BOOST_CHECK(got == second);

    if (accessors.get_default != nullptr) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.get_default("k", got));
        BOOST_CHECK(got == first);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.set_default("k", second));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.get_default("k", got));
        BOOST_CHECK(got == second);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.get_default(nullptr, got));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, accessors.set_default(nullptr, second));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, accessors.set_default("new", first));
        BOOST_CHECK_EQUAL(Value(T{first}), value_of("new"));
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(accessors)

BOOST_AUTO_TEST_CASE(each_accessor_has_the_effect_of_its_c_function) {
    check<std::string>(Accessors<std::string, const std::string&>{settingsGetString, settingsSetString,
                                                                  settingsGetDefaultString, settingsSetDefaultString},
                       "one"s, ""s);
    check<Json>(Accessors<std::string, const std::string&>{settingsGetJson, settingsSetJson, settingsGetDefaultJson,
                                                           settingsSetDefaultJson},
                "{ \"a\" : 1 }"s, "[]"s);
    check<bool>(Accessors<bool, bool>{settingsGetBool, settingsSetBool, settingsGetDefaultBool, settingsSetDefaultBool},
                true, false);
    check<Ints>(Accessors<Ints, const Ints&>{settingsGetIntVector, settingsSetIntVector, settingsGetDefaultIntVector,
                                             settingsSetDefaultIntVector},
                Ints{1, 2, 3}, Ints{});
    check<Strings>(Accessors<Strings, const Strings&>{settingsGetStringVector, settingsSetStringVector,
                                                      settingsGetDefaultStringVector, settingsSetDefaultStringVector},
                   Strings{"a", "b,c", ""}, Strings{""});
    check<Bools>(Accessors<Bools, Bools&>{settingsGetBoolVector, settingsSetBoolVector, nullptr, nullptr},
                 Bools{true, false}, Bools{});
    check<Doubles>(Accessors<Doubles, Doubles&>{settingsGetDoubleVector, settingsSetDoubleVector, nullptr, nullptr},
                   Doubles{8.3, 17.3}, Doubles{0.25});
}

BOOST_AUTO_TEST_CASE(a_string_with_a_NUL_is_refused_not_cut_off) {
    const OpenStore store("k = Sone\nj = J1\na = ASx\n");
    const std::string file = OpenStore::file();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetString("k", "a\0b"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetDefaultString("k", "\0"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetJson("j", "\"a\0b\""s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetJson("j", "1\0"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetDefaultJson("j", "\0"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetStringVector("a", {"a", "\0"s}));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, settingsSetDefaultStringVector("a", {"a\0"s}));
    BOOST_CHECK_EQUAL(file, OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_configuration_vector_is_filled_on_success_and_untouched_otherwise) {
    write_file(configuration_path(), "s = ASone,two\ni = AI1\nb = AB1,0\nd = AD.5\nscalar = I1\n");
    Strings strings{"kept"};
    Ints ints{9, 9, 9};
    Bools bools{true};
    Doubles doubles{9};
    BOOST_CHECK(!configurationGetIntVector("i", ints));
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
    for (const char* key : {"i", "scalar", "fred", "DEFAULT_s", static_cast<const char*>(nullptr)}) {
        BOOST_CHECK(!configurationGetStringVector(key, strings));
        BOOST_CHECK(!configurationGetBoolVector(key, bools));
        BOOST_CHECK(!configurationGetDoubleVector(key, doubles));
    }
    BOOST_CHECK(!configurationGetIntVector("s", ints));
    BOOST_CHECK(strings == Strings{"kept"} && ints == (Ints{9, 9, 9}) && bools == Bools{true} && doubles == Doubles{9});
    BOOST_CHECK(configurationGetStringVector("s", strings));
    BOOST_CHECK(configurationGetIntVector("i", ints));
    BOOST_CHECK(configurationGetBoolVector("b", bools));
    BOOST_CHECK(configurationGetDoubleVector("d", doubles));
    BOOST_CHECK(strings == (Strings{"one", "two"}) && ints == Ints{1} && bools == (Bools{true, false}) &&
                doubles == Doubles{.5});
    zelva_core_configuration_deinit();
    std::filesystem::remove(configuration_path());
}

BOOST_AUTO_TEST_SUITE_END()
