// The canonical form of JSON text.
#include <string>

#include "support.h"
#include "value/json.h"

using namespace std::string_literals;
using zelva::value::canonical_json;

BOOST_AUTO_TEST_SUITE(json)

void check_accepted(const std::string& text, const std::string& canonical) {
    BOOST_TEST_CONTEXT("text: " << shown(text)) {
        const auto read = canonical_json(text);
        BOOST_REQUIRE(read.has_value());
        BOOST_CHECK_EQUAL(shown(canonical), shown(read->text));
        const auto again = canonical_json(read->text);
        BOOST_REQUIRE(again.has_value());
        BOOST_CHECK_EQUAL(shown(canonical), shown(again->text));
    }
}

void check_refused(const std::string& text) {
    BOOST_TEST_CONTEXT("text: " << shown(text)) {
        BOOST_CHECK(!canonical_json(text).has_value());
    }
}

// What other tests rely on that compare values.
BOOST_AUTO_TEST_CASE(json_equals_json_of_the_same_text_and_nothing_else) {
    const Value json = Json{"[ 1 ]"};
    BOOST_CHECK(json == Value(Json{"[ 1 ]"}));
    for (const char* text : {"[ 2 ]", "[ 1 ] ", "[ 1, 1 ]", "[", ""}) {
        BOOST_CHECK(!(json == Value(Json{text})));
        BOOST_CHECK(!(Value(Json{text}) == json));
        BOOST_CHECK(Value(Json{text}) == Value(Json{text}));
    }
    BOOST_CHECK(!(json == Value("[ 1 ]"s)));
}

BOOST_AUTO_TEST_CASE(containers_are_written_on_one_line_with_single_blanks) {
    check_accepted("{}", "{}");
    check_accepted(" { \t\r\n} ", "{}");
    check_accepted("[]", "[]");
    check_accepted("[ ]", "[]");
    check_accepted("[1]", "[ 1 ]");
    check_accepted("[1,2 , 3]", "[ 1, 2, 3 ]");
    check_accepted("[[],{},[[]]]", "[ [], {}, [ [] ] ]");
    check_accepted(R"({"a":1})", R"({ "a" : 1 })");
    check_accepted(R"({"b":[],"a":{"c":null}})", R"({ "b" : [], "a" : { "c" : null } })");
    check_accepted("{\n \"glossary\": {\n \"title\":\"example\"\n} \n }",
                   R"({ "glossary" : { "title" : "example" } })");
    check_accepted(R"({"":""})", R"({ "" : "" })");
}

BOOST_AUTO_TEST_CASE(members_keep_their_order_and_repeated_names) {
    check_accepted(R"({"z":1,"a":2,"z":3})", R"({ "z" : 1, "a" : 2, "z" : 3 })");
}

BOOST_AUTO_TEST_CASE(any_value_may_stand_at_the_top) {
    check_accepted("null", "null");
    check_accepted("true", "true");
    check_accepted(" false ", "false");
    check_accepted("\"s\"", "\"s\"");
    check_accepted("42", "42");
}

BOOST_AUTO_TEST_CASE(numbers_are_doubles_in_20_significant_digits) {
    check_accepted("0", "0");
    check_accepted("-0", "-0");
    check_accepted("-0.0", "-0");
    check_accepted("42.0", "42");
    check_accepted("0.1", "0.10000000000000000555");
    check_accepted("1e2", "100");
    check_accepted("1E+2", "100");
    check_accepted("25e-1", "2.5");
    check_accepted("1e19", "10000000000000000000");
    check_accepted("1e20", "1e+20");
    check_accepted("1e-5", "1.0000000000000000818e-05");
    check_accepted("0.0001", "0.00010000000000000000479");
    check_accepted("9007199254740993", "9007199254740992");
    check_accepted("1.7976931348623157e308", "1.7976931348623157081e+308");
    check_accepted("-5e-324", "-4.9406564584124654418e-324");
    check_accepted("1e-400", "0");
    check_accepted("123456789012345678901234567890", "1.2345678901234567788e+29");
}

BOOST_AUTO_TEST_CASE(strings_keep_what_is_plain_and_escape_the_rest) {
    check_accepted(R"("\"\\\/\b\f\n\r\t")", R"("\"\\/\b\f\n\r\t")");
    check_accepted("\"a\nb\tc\"", R"("a\nb\tc")");
    check_accepted("\"\x01\x1F\x7F\"", "\"\x01\x1F\x7F\"");
    check_accepted(R"("\u0001\u001f")", "\"\x01\x1F\"");
    check_accepted(R"("\u0041\u0022\u005C\u002f")", R"("A\"\\/")");
    check_accepted(R"("\u0000")", R"("\u0000")");
    check_accepted("\"\xC2\x80\xC3\xA9\xDF\xBF\"", R"("\u0080\u00e9\u07ff")");
    check_accepted("\"\xE0\xA0\x80\xE2\x82\xAC\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\"",
                   R"("\u0800\u20ac\ud7ff\ue000\uffff")");
    check_accepted(R"("\u00E9\u20AC")", R"("\u00e9\u20ac")");
    check_accepted("\"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\"", "\"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\"");
    check_accepted(R"("\ud83d\uDE00")", "\"\xF0\x9F\x98\x80\"");
    check_accepted(R"("\uD800\udc00\uDBFF\uDFFF")", "\"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\"");
    check_accepted(R"({"\u00e9":1})", R"({ "\u00e9" : 1 })");
}

BOOST_AUTO_TEST_CASE(what_is_not_json_is_refused) {
    for (const char* text : {"",
                             " ",
                             "\t",
                             "nul",
                             "nulll",
                             "True",
                             "TRUE",
                             "x",
                             "'a'",
                             "{",
                             "}",
                             "[",
                             "]",
                             "[1",
                             "[1,",
                             "[1,]",
                             "[,1]",
                             "[,]",
                             "[1 2]",
                             "[1}",
                             "{]",
                             "{1:2}",
                             "{a\":1}",
                             "{a:1}",
                             "{'a':1}",
                             R"({"a")",
                             R"({"a":)",
                             R"({"a":1)",
                             R"({"a":1,)",
                             R"({"a":1,})",
                             R"({,"a":1})",
                             R"({"a" 1})",
                             R"({"a"::1})",
                             R"({"a":1 "b":2})",
                             R"({"a":1]})",
                             "[]]",
                             "{}}",
                             "{} {}",
                             "1 2",
                             "// c\n1",
                             "/* c */ 1",
                             "1 // c",
                             "# c\n1",
                             "\xEF\xBB\xBF{}",
                             "\v1",
                             "\f1",
                             "\u00A01",
                             "undefined",
                             "NaN",
                             "Infinity",
                             "-Infinity",
                             "line one\nline two"}) {
        check_refused(text);
    }
}

BOOST_AUTO_TEST_CASE(what_is_not_a_number_is_refused) {
    for (const char* text :
         {"+1", "-",    "--1",  "01",    "-01", "00",    ".5",  "5.",    "-.5",   "1e",     "1e+",    "1e-",
          "e5", "1.e5", "0x10", "1_000", "1,5", "1.5.5", "- 1", "1e5.5", "1e400", "-1e400", "[1e999]"}) {
        check_refused(text);
    }
}

BOOST_AUTO_TEST_CASE(what_is_not_a_string_is_refused) {
    for (const char* text : {R"(")", R"("a)", R"("\")", R"("\)", R"("\x41")", R"("\'")", R"("\0")", R"("\u")",
                             R"("\u123")", R"("\u12g4")", R"("\u 123")", R"("\U0041")", R"("\u+123")"}) {
        check_refused(text);
    }
    check_refused("\"a\0b\""s);
    check_refused("\"\\\0\""s);
    check_refused("1\0"s);
}

BOOST_AUTO_TEST_CASE(what_is_not_unicode_is_refused) {
    for (const char* text : {"{\"\x80\":1}",
                             "\"\xC3",
                             "\"\xE2\x82",
                             "\"\xF0\x9F\x98",
                             "\"\x80\"",
                             "\"\xC0\x80\"",
                             "\"\xC1\xBF\"",
                             "\"\xC3\"",
                             "\"\xC3(\"",
                             "\"\xC3\xC3\"",
                             "\"\xC3\xFF\"",
                             "\"\xE0\x80\x80\"",
                             "\"\xE0\x9F\xBF\"",
                             "\"\xE2\x82\"",
                             "\"\xED\xA0\x80\"",
                             "\"\xED\xBF\xBF\"",
                             "\"\xF0\x80\x80\x80\"",
                             "\"\xF0\x8F\xBF\xBF\"",
                             "\"\xF4\x90\x80\x80\"",
                             "\"\xF5\x80\x80\x80\"",
                             "\"\xF8\x90\x80\x80\"",
                             "\"\xFC\x80\x80\x80\"",
                             "\"\xF0\x9F\x98\"",
                             "\"\xFE\"",
                             "\"\xFF\"",
                             R"("\ud800")",
                             R"("\ud800x")",
                             R"("\ud800\n")",
                             R"("\ud800\u0041")",
                             R"("\ud800\ud800")",
                             R"("\udc00")",
                             R"("\udc00\ud800")",
                             R"("\ud83d\u")"}) {
        check_refused(text);
    }
}

BOOST_AUTO_TEST_CASE(nesting_is_limited_by_memory_alone) {
    constexpr std::size_t depth = 1000000;
    std::string text = std::string(depth, '[') + std::string(depth, ']');
    const auto arrays = canonical_json(text);
    BOOST_REQUIRE(arrays.has_value());
    BOOST_CHECK_EQUAL(4 * depth - 2, arrays->text.size());
    BOOST_CHECK(canonical_json(arrays->text)->text == arrays->text);

    BOOST_CHECK(!canonical_json(std::string(depth, '[')).has_value());
    std::string objects;
    for (std::size_t i = 0; i < depth; ++i) {
        objects += "{\"\":";
    }
    BOOST_CHECK(!canonical_json(objects).has_value());
    BOOST_CHECK(canonical_json(objects + "1" + std::string(depth, '}')).has_value());
}

BOOST_AUTO_TEST_SUITE_END()
