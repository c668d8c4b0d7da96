// The rules of values: which are accepted, and that these read back.
#include <climits>
#include <cstring>
#include <limits>
#include <string>

#include "refused.h"
#include "support.h"

using namespace std::string_literals;

BOOST_AUTO_TEST_SUITE(rules)

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

BOOST_AUTO_TEST_SUITE_END()
