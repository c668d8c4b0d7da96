// The rules of keys, types, defaults, versions and copies.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support.h"

using namespace std::string_literals;

namespace {

/// A file with one key of each type, named as the type, with a default of the type's other value.
std::string file_of_all_types() {
    {
        const OpenStore store;
        for (const TypeFunctions& type : types()) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default(type.name, type.second));
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(type.name, type.first));
        }
        return OpenStore::file();
    }
}

/// Runs `call`, which must be refused, and checks that it leaves the file and all keys as they were.
template <class Call>
void check_refused(zelva_core_status expected, Call&& call) {
    const std::string file = OpenStore::file();
    const Strings names = keys();
    BOOST_CHECK_EQUAL(expected, call());
    BOOST_CHECK_EQUAL(shown(file), shown(OpenStore::file()));
    BOOST_CHECK(names == keys());
}

}  // namespace

BOOST_AUTO_TEST_SUITE(rules)

BOOST_AUTO_TEST_CASE(each_type_reads_back_at_once_and_after_a_restart) {
    const OpenStore store;
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const char* key = type.name.c_str();
            for (const Value& value : {type.first, type.second}) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.set(key, value));
                BOOST_CHECK_EQUAL(value, type.get(key).value);
                BOOST_CHECK_EQUAL(type.first, type.get_default(key).value);
                OpenStore::restart();
                BOOST_CHECK_EQUAL(value, type.get(key).value);
                BOOST_CHECK_EQUAL(type.first, type.get_default(key).value);
            }
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.set_default(key, type.second));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(type.second, type.get_default(key).value);
            zelva_core_settings_type told{};
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_type(key, &told));
            BOOST_CHECK_EQUAL(type.type, told);
        }
    }
    BOOST_CHECK_EQUAL(types().size(), keys().size());
}

BOOST_AUTO_TEST_CASE(the_first_write_of_a_key_gives_it_value_and_default) {
    for (const TypeFunctions& type : types()) {
        for (const auto& first_write : {type.set, type.set_default}) {
            BOOST_TEST_CONTEXT(type.name) {
                const OpenStore store;
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, first_write("k", type.first));
                BOOST_CHECK_EQUAL(type.first, type.get("k").value);
                BOOST_CHECK_EQUAL(type.first, type.get_default("k").value);
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(no_operation_takes_another_type_s_key) {
    const OpenStore store(file_of_all_types());
    for (const TypeFunctions& type : types()) {
        for (const TypeFunctions& other : types()) {
            if (type.type == other.type) {
                continue;
            }
            BOOST_TEST_CONTEXT(type.name << " on a key of " << other.name) {
                const char* key = other.name.c_str();
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                              [&] { return type.set_default(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, [&] { return type.copy(key, "new"); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                              [&] { return type.copy(type.name.c_str(), key); });
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(an_absent_key_is_not_present_for_any_operation_that_reads) {
    const OpenStore store("other = I1\n");
    for (const char* key : {"fred", "", " ", "a=b", "other ", "othe", "#", "\n"}) {
        BOOST_TEST_CONTEXT("key: " << shown(key)) {
            for (const TypeFunctions& type : types()) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [&] { return type.copy(key, "new"); });
            }
            zelva_core_settings_type told = ZELVA_CORE_SETTING_TYPE_DOUBLE;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_type(key, &told));
            BOOST_CHECK_EQUAL(ZELVA_CORE_SETTING_TYPE_DOUBLE, told);
            check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [&] { return zelva_core_settings_delete_key(key); });
            BOOST_CHECK(!zelva_core_settings_does_key_exist(key));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_name_that_begins_with_DEFAULT_is_refused_by_every_operation) {
    const OpenStore store(file_of_all_types());
    for (const TypeFunctions& type : types()) {
        for (const std::string& name : {"DEFAULT_" + type.name, "DEFAULT_"s, "DEFAULT_none"s}) {
            BOOST_TEST_CONTEXT(name) {
                const char* key = name.c_str();
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set_default(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.copy(key, "new"); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.copy(type.name.c_str(), key); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return zelva_core_settings_delete_key(key); });
                zelva_core_settings_type told{};
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(key, &told));
                BOOST_CHECK(!zelva_core_settings_does_key_exist(key));
                BOOST_CHECK(keys(name).empty());
            }
        }
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("DEFAULT", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("default_k", 2));
    BOOST_CHECK(keys("DEFAULT") == Strings{"DEFAULT"});
    BOOST_CHECK(keys("D") == Strings{"DEFAULT"});
    BOOST_CHECK(keys("d") == (Strings{"default_k", "double"}));
}

BOOST_AUTO_TEST_CASE(NULL_is_refused_before_anything_else) {
    zelva_core_settings_deinit();
    for (const bool is_open : {false, true}) {
        if (is_open) {
            write_file(store_path(), file_of_all_types());
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        }
        for (const TypeFunctions& type : types()) {
            BOOST_TEST_CONTEXT(type.name) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_default(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_configuration(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set(nullptr, type.first));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set_default(nullptr, type.first));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy(nullptr, "new"));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy(type.name.c_str(), nullptr));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy("absent", nullptr));
            }
        }
        for (const char* key : {"string", "absent", "DEFAULT_string"}) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_string_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_json_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofstring_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofint_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofbool_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofdouble_value(key, nullptr));
            int length = -1;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_get_arrayofint_value(key, nullptr, &length));
            BOOST_CHECK_EQUAL(-1, length);
        }
        zelva_core_settings_type told{};
        unsigned version = 0;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(nullptr, &told));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key(nullptr));
        BOOST_CHECK(!zelva_core_settings_does_key_exist(nullptr));
        BOOST_CHECK(zelva_core_settings_get_keys_starting_with(nullptr) == nullptr);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_and_set_version(nullptr, 1));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(nullptr, &version));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&version, nullptr));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init(nullptr));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init(nullptr));
        BOOST_CHECK_EQUAL(0U, version);
    }
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(the_length_of_an_array_need_not_be_asked_for) {
    const OpenStore store("k = AI1,2\n");
    int** array = nullptr;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("k", &array, nullptr));
    BOOST_CHECK(array[2] == nullptr);
    zelva_core_free_int_array(array);
}

BOOST_AUTO_TEST_CASE(a_store_that_is_not_open_refuses_every_operation) {
    zelva_core_settings_deinit();
    zelva_core_configuration_deinit();
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get_default("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get_configuration("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.set("k", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.set_default("k", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.copy("k", "l"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get("DEFAULT_k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set("DEFAULT_k", type.first));
        }
    }
    zelva_core_settings_type told{};
    unsigned old_version = 7;
    unsigned new_version = 7;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_type("k", &told));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_and_set_version(&old_version, 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_sync());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_reload());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED,
                      zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
    BOOST_CHECK_EQUAL(7U, old_version);
    BOOST_CHECK_EQUAL(7U, new_version);
    BOOST_CHECK(!zelva_core_settings_does_key_exist("k"));
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("k"));
    BOOST_CHECK(zelva_core_settings_get_all_keys() == nullptr);
    BOOST_CHECK(zelva_core_settings_get_keys_starting_with("k") == nullptr);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_configuration_deinit());
    BOOST_CHECK(read_file(store_path()).empty());
}

BOOST_AUTO_TEST_CASE(a_second_init_leaves_the_open_store_as_it_is) {
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_settings_init("other"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init("CONFIG_test"));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(stopping_the_library_closes_both_stores) {
    write_file(configuration_path(), "k = I2\n");
    {
        const OpenStore store("k = I1\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_configuration_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_deinit());
    }
}

BOOST_AUTO_TEST_CASE(keys_that_a_line_can_hold_are_accepted) {
    const OpenStore store;
    const Strings accepted{"k",        "K",       "a b",       "a\tb",     "a#b",      "a;",
                           "\"",       "'k'",     "\\",        "k\r",      "\x01",     "\xFF",
                           "\xC3\xA9", "DEFAULT", "default_k", "Version2", "CONFIG_k", std::string(65537, 'k')};
    for (const std::string& key : accepted) {
        BOOST_TEST_CONTEXT("key: " << shown(key.substr(0, 40))) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, 5));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(5), value_of(key));
            BOOST_CHECK_EQUAL(Value(5), get_default(key).value);
        }
    }
    Strings listed = keys();
    Strings sorted = accepted;
    std::sort(sorted.begin(), sorted.end());
    std::sort(listed.begin(), listed.end());
    BOOST_CHECK(listed == sorted);
    for (const std::string& key : accepted) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(key.c_str()));
    }
    BOOST_CHECK_EQUAL("", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(keys_that_would_not_read_back_are_refused) {
    const OpenStore store("# here\nother = I1\n");
    for (const char* key : {"",   " ",  "\t",   " k",  "k ", "\tk", "k\t", "=",  "a=b",      "k=",
                            "=k", "\n", "a\nb", "k\n", "#",  "#k",  ";",   ";k", "# k = I1", "k = I1\nl"}) {
        BOOST_TEST_CONTEXT("key: " << shown(key)) {
            for (const TypeFunctions& type : types()) {
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set_default(key, type.first); });
            }
            check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          [&] { return zelva_core_settings_copy_int_key("other", key); });
        }
    }
}

BOOST_AUTO_TEST_CASE(strings_read_back_byte_for_byte) {
    const OpenStore store;
    Strings values{"",    " ", "  one  ", "\t",  "text=text", "=text", "text=",    "#",
                   "; x", "S", "\\",      "\\,", "\r",        "\x7F",  "\xFF\xFE", std::string(1 << 20, 'x')};
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '\n') {
            values.emplace_back(1, static_cast<char>(byte));
        }
    }
    for (const std::string& value : values) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", value));
        BOOST_CHECK(Value(value) == value_of("k"));
        OpenStore::restart();
        BOOST_CHECK(Value(value) == value_of("k"));
    }
    for (const char* value : {"\n", "a\nb", "a\n", "\nb"}) {
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                      [&] { return zelva_core_settings_set_string_value("k", value); });
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                      [&] { return zelva_core_settings_set_default_string_value("new", value); });
    }
}

BOOST_AUTO_TEST_CASE(arrays_of_string_read_back_element_for_element) {
    const OpenStore store;
    const std::vector<Strings> values{
        {},
        {""},
        {"", ""},
        {"", "", ""},
        {"a"},
        {"a", ""},
        {"", "a"},
        {","},
        {",", ","},
        {"a,b", "c"},
        {"\\"},
        {"\\", "\\"},
        {"\\", ""},
        {"", "\\"},
        {"\\,"},
        {"\\\\,\\"},
        {"a\\", "b\\,", ",\\", "c"},
        {"a b", "\"q\"", "=", "#", "\xFF"},
    };
    for (const Strings& value : values) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", value));
        BOOST_CHECK_EQUAL(Value(value), value_of("k"));
        OpenStore::restart();
        BOOST_CHECK_EQUAL(Value(value), value_of("k"));
    }
    for (const char* element : {" ", "\t", " a", "a ", "\ta", "a\t", "\n", "a\nb", "a\\ "}) {
        for (const Strings& value : {Strings{element}, Strings{"a", element}, Strings{element, "a"}}) {
            check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set("k", value); });
            check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set_default("new", value); });
        }
    }
}

BOOST_AUTO_TEST_CASE(doubles_read_back_bit_for_bit_and_must_be_finite) {
    const OpenStore store;
    using limits = std::numeric_limits<double>;
    for (const double value :
         {0.0, -0.0, 0.1, 1.0 / 3, 101.7, 1e15, 1e16, 1e17, 123456789012345680.0, 1e-5, limits::max(), limits::lowest(),
          limits::min(), limits::denorm_min(), limits::epsilon()}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", value));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("a", Doubles{value, -value}));
        OpenStore::restart();
        const auto read = std::get<double>(value_of("k"));
        BOOST_CHECK_EQUAL(0, std::memcmp(&value, &read, sizeof value));
        BOOST_CHECK_EQUAL(Value(Doubles{value, -value}), value_of("a"));
    }
    for (const double value : {limits::infinity(), -limits::infinity(), limits::quiet_NaN(), -limits::quiet_NaN()}) {
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set("k", value); });
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set_default("new", value); });
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set("a", Doubles{0, value}); });
    }
}

BOOST_AUTO_TEST_CASE(ints_read_back_to_their_limits) {
    const OpenStore store;
    for (const int value : {0, 1, -1, INT_MAX, INT_MAX - 1, INT_MIN, INT_MIN + 1}) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", value));
        OpenStore::restart();
        BOOST_CHECK_EQUAL(Value(value), value_of("k"));
    }
}

BOOST_AUTO_TEST_CASE(json_reads_back_in_its_canonical_form_and_must_be_json) {
    const OpenStore store;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", Json{"{\n\"a\\nb\":[0.1,\"\xC3\xA9\"]\n}\n"}));
    const Value canonical = Json{"{ \"a\\nb\" : [ 0.10000000000000000555, \"\\u00e9\" ] }"};
    BOOST_CHECK_EQUAL(canonical, value_of("k"));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(canonical, value_of("k"));
    for (const char* text : {"", "{", "line one\nline two", "[1,]", "\"\xFF\"", "1e999"}) {
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set("k", Json{text}); });
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return set_default("new", Json{text}); });
    }
}

BOOST_AUTO_TEST_CASE(a_value_is_judged_before_its_key_is_looked_up) {
    const OpenStore store("k = I1\n");
    check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [] { return set("k", "a\nb"s); });
    check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [] { return set("k", Json{"{"}); });
    check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [] { return set("absent", Json{"{"}); });
}

BOOST_AUTO_TEST_CASE(a_key_without_a_default_has_no_default_to_get) {
    const OpenStore store("k = Sten\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", "eleven"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("k").status);
    BOOST_CHECK_EQUAL("k = Seleven\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_default_without_its_key_is_out_of_sight_until_the_key_is_written) {
    const OpenStore store("DEFAULT_k = Sold\n");
    BOOST_CHECK(keys().empty());
    BOOST_CHECK(!zelva_core_settings_does_key_exist("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, types()[0].get("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, types()[0].get_default("k").status);
    check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [] { return zelva_core_settings_delete_key("k"); });
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL("DEFAULT_k = I3\nk = I3\n", OpenStore::file());
    BOOST_CHECK_EQUAL(Value(3), get_default("k").value);
}

BOOST_AUTO_TEST_CASE(a_default_of_another_type_than_its_key_is_not_handed_out) {
    const OpenStore store("k = I1\nDEFAULT_k = Sone\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      types()[ZELVA_CORE_SETTING_TYPE_INT].get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      types()[ZELVA_CORE_SETTING_TYPE_STRING].get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("k", 2));
    BOOST_CHECK_EQUAL(Value(2), get_default("k").value);
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(deleting_a_key_deletes_its_default_and_frees_its_name) {
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const OpenStore store(file_of_all_types());
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(type.name.c_str()));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get(type.name.c_str()).status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get_default(type.name.c_str()).status);
            check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT,
                          [&] { return zelva_core_settings_delete_key(type.name.c_str()); });
            OpenStore::restart();
            BOOST_CHECK_EQUAL(types().size() - 1, keys().size());
            for (const TypeFunctions& other : types()) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.set(type.name.c_str(), other.second));
                BOOST_CHECK_EQUAL(other.second, value_of(type.name));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(type.name.c_str()));
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(deleting_a_key_deletes_all_its_lines) {
    const OpenStore store("k = I1\nother = I1\nDEFAULT_k = Sold\nk = Stwo\nDEFAULT_k = I1\nk = I3\nkk = I4\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL("other = I1\nkk = I4\n", OpenStore::file());
    OpenStore::restart();
    BOOST_CHECK(keys() == (Strings{"kk", "other"}));
}

BOOST_AUTO_TEST_CASE(lists_hold_each_key_once_and_a_list_is_not_changed_afterwards) {
    const OpenStore store("b = I1\na = I1\nDEFAULT_a = I1\nab = Sx\nb = I2\nzz = B1\n");
    BOOST_CHECK(keys() == (Strings{"a", "ab", "b", "zz"}));
    BOOST_CHECK(keys("a") == (Strings{"a", "ab"}));
    BOOST_CHECK(keys("ab") == Strings{"ab"});
    BOOST_CHECK(keys("abc").empty());
    BOOST_CHECK(keys("\xFF").empty());
    char** list = zelva_core_settings_get_all_keys();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("a"));
    BOOST_CHECK_EQUAL("a", list[0]);
    zelva_core_free_string_array(list);
}

BOOST_AUTO_TEST_CASE(a_copy_is_a_set_of_the_new_key_with_the_old_one_s_value) {
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const OpenStore store;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("old", type.second));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("old", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "new"));
            BOOST_CHECK_EQUAL(type.first, value_of("new"));
            BOOST_CHECK_EQUAL(type.first, get_default("new").value);

            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("old", type.second));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "new"));
            BOOST_CHECK_EQUAL(type.second, value_of("new"));
            BOOST_CHECK_EQUAL(type.first, get_default("new").value);

            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "old"));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(type.second, value_of("old"));
            BOOST_CHECK_EQUAL(type.second, value_of("new"));
            BOOST_CHECK(keys() == (Strings{"new", "old"}));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_version_is_1_to_INT_MAX_and_only_rises) {
    const OpenStore store("Version = I19\n");
    unsigned old_version = 99;
    unsigned new_version = 99;
    for (const unsigned refused : {0U, unsigned{INT_MAX} + 1, UINT_MAX}) {
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                      [&] { return zelva_core_settings_get_and_set_version(&old_version, refused); });
        BOOST_CHECK_EQUAL(99U, old_version);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          zelva_core_settings_get_versions(&old_version, &new_version));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, INT_MAX));
    BOOST_CHECK_EQUAL(19U, old_version);
    OpenStore::restart();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 5));
    BOOST_CHECK_EQUAL(unsigned{INT_MAX}, old_version);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(unsigned{INT_MAX}, old_version);
    BOOST_CHECK_EQUAL(5U, new_version);
    BOOST_CHECK_EQUAL("Version = I2147483647\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(the_old_version_tells_what_there_is_to_migrate) {
    const struct {
        const char* file;
        unsigned old_version;
    } cases[] = {
        {"", 4},
        {"# only a comment\n", 4},
        {"rejected\n", 4},
        {"k = I1\n", 0},
        {"DEFAULT_k = I1\n", 4},
        {"Version = I3\n", 3},
        {"Version = I4\n", 4},
        {"Version = I9\n", 9},
        {"Version = I0\n", 0},
        {"Version = I-7\n", 0},
    };
    for (const auto& test : cases) {
        BOOST_TEST_CONTEXT("file: " << shown(test.file)) {
            const OpenStore store(test.file);
            unsigned old_version = 99;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 4));
            BOOST_CHECK_EQUAL(test.old_version, old_version);
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(std::max(4, static_cast<int>(test.old_version))), value_of("Version"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("Version").status);
        }
    }
}

BOOST_AUTO_TEST_CASE(the_version_never_comes_by_a_default) {
    const OpenStore store("k = I1\nDEFAULT_Version = I9\n");
    unsigned old_version = 7;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 3));
    BOOST_CHECK_EQUAL(0U, old_version);
    BOOST_CHECK_EQUAL("k = I1\nVersion = I3\n", OpenStore::file());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("Version").status);
}

BOOST_AUTO_TEST_CASE(a_version_key_of_another_type_is_left_alone) {
    for (const char* value : {"Sone", "J1", "BTRUE", "D1", "AS1", "AI1", "AB1", "AD1"}) {
        const OpenStore store("Version = "s + value + "\n");
        unsigned old_version = 99;
        unsigned new_version = 99;
        check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      [&] { return zelva_core_settings_get_and_set_version(&old_version, 1); });
        BOOST_CHECK_EQUAL(99U, old_version);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          zelva_core_settings_get_versions(&old_version, &new_version));
    }
}

// Enough keys for any order of theirs in the table that holds them, and lists all along, which keep them sorted.
BOOST_AUTO_TEST_CASE(keys_come_and_go_as_in_a_map) {
    const OpenStore store;
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    std::mt19937 random(3);
    State expected;
    for (int i = 0; i < 30'000; ++i) {
        const std::string key = "key" + std::to_string(random() % 400);
        // By turns there are ever more keys, and ever fewer.
        const bool is_set = random() % 10 < (i / 3000 % 2 == 0 ? 7U : 3U);
        if (is_set) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, i));
            model::set(expected, key, i);
        } else {
            BOOST_REQUIRE_EQUAL(model::remove(expected, key), zelva_core_settings_delete_key(key.c_str()));
        }
        if (i % 100 == 50 && i > 1000) {
            BOOST_REQUIRE(state_of_store() == expected);
            const std::string prefix = key.substr(0, 4);
            BOOST_REQUIRE(keys(prefix) == model::keys(expected, prefix));
        }
    }
    OpenStore::restart();
    BOOST_CHECK(state_of_store() == expected);
}

BOOST_AUTO_TEST_SUITE_END()
