// What the lines of a hand-written file mean.
#include <clocale>
#include <cmath>
#include <optional>
#include <string>

#include "support.h"
#include "value/text.h"

using namespace std::string_literals;

BOOST_AUTO_TEST_SUITE(reader)

/// A line, and the value that "k" has after it; none when the line is rejected.
struct Case {
    std::string line;
    std::optional<Value> value;
};

void check(const std::vector<Case>& cases) {
    for (const Case& test : cases) {
        BOOST_TEST_CONTEXT("line: " << shown(test.line)) {
            const OpenStore store(test.line + "\n");
            BOOST_CHECK_EQUAL(test.value.has_value(), zelva_core_settings_does_key_exist("k"));
            BOOST_CHECK(keys() == (test.value ? Strings{"k"} : Strings{}));
            if (test.value && zelva_core_settings_does_key_exist("k")) {
                BOOST_CHECK_EQUAL(*test.value, value_of("k"));
            }
        }
    }
}

constexpr std::nullopt_t rejected = std::nullopt;

BOOST_AUTO_TEST_CASE(an_entry_is_a_key_an_equals_sign_and_a_tagged_value) {
    check({
        {"k = I1", 1},          {"k=I1", 1},           {"k  =  I1", 1},       {"k\t=\tI1", 1},
        {"  k = I1", 1},        {"\tk\t= I1", 1},      {"k", rejected},       {"k I1", rejected},
        {"k =", rejected},      {"k = ", rejected},    {"k = \t", rejected},  {"= I1", rejected},
        {" \t = I1", rejected}, {"k == I1", rejected}, {"k = one", rejected}, {"k = X1", rejected},
        {"k = i1", rejected},   {"k = A1", rejected},  {"k = A", rejected},   {"k = a S1", rejected},
    });
}

BOOST_AUTO_TEST_CASE(a_line_that_begins_with_a_number_sign_or_a_semicolon_is_a_comment) {
    check({{"#k = I1", rejected}, {";k = I1", rejected}, {"#", rejected}, {";", rejected}});
    const OpenStore store(" #k = I1\n");
    BOOST_CHECK(keys() == Strings{"#k"});
}

BOOST_AUTO_TEST_CASE(keys_are_case_sensitive_and_may_hold_blanks_and_any_other_byte_inside) {
    const OpenStore store("key = I1\nKey = I2\na b\tc = I3\nk\xC3\xA9\xFF\r = I4\n");
    BOOST_CHECK_EQUAL(Value(1), value_of("key"));
    BOOST_CHECK_EQUAL(Value(2), value_of("Key"));
    BOOST_CHECK_EQUAL(Value(3), value_of("a b\tc"));
    BOOST_CHECK_EQUAL(Value(4), value_of("k\xC3\xA9\xFF\r"));
    BOOST_CHECK(!zelva_core_settings_does_key_exist("KEY"));
}

BOOST_AUTO_TEST_CASE(a_string_is_the_rest_of_the_line_as_it_stands) {
    check({
        {"k = S", ""s},
        {"k = S ", " "s},
        {"k = S  one  ", "  one  "s},
        {"k = S=a=", "=a="s},
        {"k = Sone\r", "one\r"s},
        {"k = S\"q\\n,", "\"q\\n,"s},
        {"k = S#no comment", "#no comment"s},
        {"k = S\xFF\x01\t", "\xFF\x01\t"s},
    });
}

BOOST_AUTO_TEST_CASE(an_int_is_digits_with_an_optional_sign_and_whatever_follows) {
    check({
        {"k = I0", 0},
        {"k = I-0", 0},
        {"k = I+5", 5},
        {"k = I-5", -5},
        {"k = I \t-5", -5},
        {"k = I007", 7},
        {"k = I5 6", 5},
        {"k = I5,6", 5},
        {"k = I1e5", 1},
        {"k = I0x10", 0},
        {"k = I232notanint", 232},
        {"k = I2147483647", 2147483647},
        {"k = I-2147483648", -2147483647 - 1},
        {"k = I2147483648", rejected},
        {"k = I-2147483649", rejected},
        {"k = I99999999999999999999x", rejected},
        {"k = I", rejected},
        {"k = I ", rejected},
        {"k = I+", rejected},
        {"k = I-", rejected},
        {"k = I+-5", rejected},
        {"k = I-+5", rejected},
        {"k = I--5", rejected},
        {"k = I- 5", rejected},
        {"k = I.5", rejected},
        {"k = Ix5", rejected},
    });
}

BOOST_AUTO_TEST_CASE(a_bool_is_one_of_four_words_and_nothing_else) {
    check({
        {"k = BTRUE", true},
        {"k = B1", true},
        {"k = BFALSE", false},
        {"k = B0", false},
        {"k = B \tTRUE\t ", true},
        {"k = B", rejected},
        {"k = B ", rejected},
        {"k = Btrue", rejected},
        {"k = BTrue", rejected},
        {"k = BT", rejected},
        {"k = B2", rejected},
        {"k = B01", rejected},
        {"k = B0TRUE", rejected},
        {"k = BTRUE1", rejected},
        {"k = BTRUE FALSE", rejected},
        {"k = BTRUE\r", rejected},
    });
}

BOOST_AUTO_TEST_CASE(a_double_is_a_decimal_number_and_whatever_cannot_continue_it) {
    check({
        {"k = D0", 0.0},
        {"k = D-0.0", -0.0},
        {"k = D1.25", 1.25},
        {"k = D \t1.25 ", 1.25},
        {"k = D+1.5", 1.5},
        {"k = D.23", .23},
        {"k = D-.5", -.5},
        {"k = D+.5", .5},
        {"k = D5.", 5.0},
        {"k = D1e5", 1e5},
        {"k = D1E+5", 1e5},
        {"k = D1.5e-5x", 1.5e-5},
        {"k = D1e", 1.0},
        {"k = D1e+", 1.0},
        {"k = D1exit", 1.0},
        {"k = D1.5.5", 1.5},
        {"k = D1,5", 1.0},
        {"k = D0x10", 0.0},
        {"k = D1.7976931348623157e308", 1.7976931348623157e308},
        {"k = D4.9406564584124654e-324", 4.9406564584124654e-324},
        {"k = D1e-400", 0.0},
        {"k = D-1e-400", -0.0},
        {"k = D0.0001e-99999999999999999999", 0.0},
        {"k = D0e99999999999999999999", 0.0},
        {"k = D" + std::string(400, '0') + "1", 1.0},
        {"k = D0." + std::string(400, '0') + "1e401", 1.0},
        {"k = D0." + std::string(800, '0') + "1e400", 0.0},
        {"k = D" + std::string(400, '1') + "e-399", 1.1111111111111112},
        {"k = D1e309", rejected},
        {"k = D-1e309", rejected},
        {"k = D1e99999999999999999999", rejected},
        {"k = D" + std::string(400, '1'), rejected},
        {"k = D" + std::string(800, '1') + "e-400", rejected},
        {"k = D", rejected},
        {"k = D ", rejected},
        {"k = D.", rejected},
        {"k = D-", rejected},
        {"k = D+", rejected},
        {"k = D+-1", rejected},
        {"k = D-+1", rejected},
        {"k = De5", rejected},
        {"k = D.e5", rejected},
        {"k = Dinf", rejected},
        {"k = D-inf", rejected},
        {"k = Dinfinity", rejected},
        {"k = Dnan", rejected},
        {"k = DNAN", rejected},
        {"k = DTRUE", rejected},
    });
    BOOST_TEST_CONTEXT("the sign of zero is kept") {
        const OpenStore store("a = D-0\nb = D-1e-400\n");
        BOOST_CHECK(std::signbit(std::get<double>(value_of("a"))));
        BOOST_CHECK(std::signbit(std::get<double>(value_of("b"))));
    }
}

BOOST_AUTO_TEST_CASE(a_json_value_is_one_json_text_with_blanks_around_it) {
    check({
        {"k = J{}", Json{"{}"}},
        {"k = J \t{ } \t", Json{"{}"}},
        {"k = J5", Json{"5"}},
        {"k = Jnull", Json{"null"}},
        {"k = J\"=\"", Json{"\"=\""}},
        {"k = J", rejected},
        {"k = J ", rejected},
        {"k = J{} {}", rejected},
        {"k = J{", rejected},
        {"k = J{'a':1}", rejected},
    });
}

BOOST_AUTO_TEST_CASE(nothing_after_the_tag_of_an_array_is_the_empty_array) {
    check({
        {"k = AS", Strings{}},
        {"k = AI", Ints{}},
        {"k = AB", Bools{}},
        {"k = AD", Doubles{}},
        {"k = AS ", Strings{""}},
        {"k = AI ", rejected},
        {"k = AB\t", rejected},
        {"k = AD ", rejected},
    });
}

BOOST_AUTO_TEST_CASE(the_elements_of_an_array_of_string_stand_between_commas_without_the_blanks_around_them) {
    check({
        {"k = ASone", Strings{"one"}},
        {"k = AS one\t,\ttwo ", (Strings{"one", "two"})},
        {"k = AS,", (Strings{"", ""})},
        {"k = AS,a,", (Strings{"", "a", ""})},
        {"k = AS , ", (Strings{"", ""})},
        {"k = ASa b", Strings{"a b"}},
        {"k = AS\"a,b\"", (Strings{"\"a", "b\""})},
        {R"(k = AS\,)", Strings{","}},
        {R"(k = ASa\,b,c)", (Strings{"a,b", "c"})},
        {R"(k = ASa\\,b)", Strings{R"(a\,b)"}},
        {R"(k = ASa\ ,b)", (Strings{"a\\", "b"})},
        {R"(k = ASa\)", Strings{"a\\"}},
        {R"(k = ASa\n\t)", Strings{R"(a\n\t)"}},
        {R"(k = AS\,\,,\,)", (Strings{",,", ","})},
        {R"(k = AS\,,b)", (Strings{",", "b"})},
    });
}

BOOST_AUTO_TEST_CASE(one_bad_element_rejects_an_array_of_numbers_or_bools) {
    check({
        {"k = AI1", Ints{1}},
        {"k = AI 1 ,\t2x,+3", (Ints{1, 2, 3})},
        {"k = AI1\\,2", (Ints{1, 2})},
        {"k = AI1,2147483648", rejected},
        {"k = AI1,,2", rejected},
        {"k = AI,1", rejected},
        {"k = AI1,", rejected},
        {"k = AI1, ", rejected},
        {"k = AI,", rejected},
        {"k = AI1,a", rejected},
        {"k = AB TRUE , 0", (Bools{true, false})},
        {"k = ABTRUE,,0", rejected},
        {"k = ABTRUE,", rejected},
        {"k = ABTRUE,true", rejected},
        {"k = ABTRUE\\,0", rejected},
        {"k = AD1, .5 ,-1e3z", (Doubles{1, .5, -1e3})},
        {"k = AD1,nan", rejected},
        {"k = AD1,1e999", rejected},
        {"k = AD1,", rejected},
    });
}

BOOST_AUTO_TEST_CASE(a_line_that_holds_a_NUL_is_rejected) {
    check({
        {"k = Sone\0two"s, rejected},
        {"k = Sone\0"s, rejected},
        {"\0k = I1"s, rejected},
        {"k = I1\0"s, rejected},
        {"k = J\"\0\""s, rejected},
        {"k = ASa\0b"s, rejected},
    });
    const OpenStore store("a = I1\n"s + std::string(4096, '\0') + "\nb = I2\n" + std::string(10, '\0'));
    BOOST_CHECK(keys() == (Strings{"a", "b"}));
}

BOOST_AUTO_TEST_CASE(the_last_line_of_a_key_counts_whatever_the_types) {
    const OpenStore store("k = Sone\nk = I2\nother = I1\nk = J[]\nk = I3\n");
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
    BOOST_CHECK(keys() == (Strings{"k", "other"}));
}

BOOST_AUTO_TEST_CASE(a_rejected_line_leaves_what_an_earlier_line_says) {
    const OpenStore store("k = I2\nk = Inone\nk =\nk\n# k = I5\n");
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
}

BOOST_AUTO_TEST_CASE(a_last_line_without_its_line_feed_counts) {
    const OpenStore store("a = I1\nb = I2");
    BOOST_CHECK_EQUAL(Value(2), value_of("b"));
}

BOOST_AUTO_TEST_CASE(a_file_of_nothing_but_comments_blank_lines_and_rejected_lines_is_an_empty_store) {
    for (const char* text : {"", "\n", "\n\n\n", "# one\n; two\n\nthree\n", "#"}) {
        const OpenStore store(text);
        BOOST_CHECK(keys().empty());
    }
}

BOOST_AUTO_TEST_CASE(the_version_is_a_key_like_any_other) {
    const OpenStore store("Version = I19\n");
    BOOST_CHECK(keys() == Strings{"Version"});
    BOOST_CHECK_EQUAL(Value(19), value_of("Version"));
}

BOOST_AUTO_TEST_CASE(numbers_do_not_depend_on_the_locale, *boost::unit_test::precondition(has_comma_locale)) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    BOOST_REQUIRE_EQUAL(",", std::localeconv()->decimal_point);
    {
        const OpenStore store("k = D1.5\nc = D1,5\n");
        BOOST_CHECK_EQUAL(Value(1.5), value_of("k"));
        BOOST_CHECK_EQUAL(Value(1.0), value_of("c"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2.25));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("j", Json{"0.5"}));
        BOOST_CHECK_EQUAL("c = D1,5\nk = D2.25\nDEFAULT_j = J0.5\nj = J0.5\n", OpenStore::file());
    }
    std::setlocale(LC_ALL, "C");
}

// A store takes strings as they stand, without this.
BOOST_AUTO_TEST_CASE(the_text_of_any_value_is_read_as_an_equal_value) {
    for (const TypeFunctions& type : types()) {
        for (const Value& value : {type.first, type.second}) {
            std::string text;
            zelva::value::write_value(value, text);
            const std::optional<Value> read = zelva::value::read_value(text);
            BOOST_REQUIRE(read.has_value());
            BOOST_CHECK_EQUAL(value, *read);
        }
    }
    BOOST_CHECK(!zelva::value::read_value("").has_value());
    BOOST_CHECK(!zelva::value::read_value("X").has_value());
}

BOOST_AUTO_TEST_SUITE_END()
