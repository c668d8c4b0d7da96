// What the reader tells of each kind of line.
#define BOOST_TEST_DYN_LINK
#include <algorithm>
#include <boost/test/unit_test.hpp>
#include <string>
#include <vector>

#include "format/reader.h"

using namespace std::string_literals;
using zelva::format::Kind;
using zelva::format::Line;
using zelva::format::Reader;

namespace {

struct Case {
    std::string line;
    Kind kind;
    std::size_t column;
    std::string name;
};

const std::vector<Case>& cases() {
    static const std::vector<Case> all{
        {"k = I1", Kind::entry, 4, "k"},
        {"  a b\t=\t S=", Kind::entry, 9, "a b"},
        {"DEFAULT_k=BTRUE", Kind::entry, 10, "DEFAULT_k"},
        {"", Kind::blank, 0, ""},
        {"# k = I1", Kind::comment, 0, ""},
        {";", Kind::comment, 0, ""},
        {"=", Kind::dead, 0, ""},
        {"=ey = I1", Kind::dead, 0, ""},
        {"\0"s, Kind::damaged, 0, ""},
        {"key = S\0\0"s, Kind::damaged, 7, ""},
        {"#\0"s, Kind::damaged, 1, ""},
        {"=\0"s, Kind::damaged, 1, ""},
        {" ", Kind::no_equals_sign, 1, ""},
        {"words", Kind::no_equals_sign, 5, ""},
        {" \t= I1", Kind::no_name, 0, ""},
        {"k =", Kind::no_value, 3, "k"},
        {"k = \t", Kind::no_value, 5, "k"},
        {"k = X1", Kind::no_value, 4, "k"},
        {"other =Ix", Kind::no_value, 7, "other"},
    };
    return all;
}

/// For reports, which NULs would spoil.
std::string without_nuls(std::string text) {
    std::replace(text.begin(), text.end(), '\0', '?');
    return text;
}

/// Reads the next line, whose number and place these are.
void check_next(Reader& reader, Line& line, const Case& expected, std::size_t number, std::size_t offset,
                std::size_t size) {
    BOOST_TEST_CONTEXT("line " << number << ": " << without_nuls(expected.line)) {
        BOOST_REQUIRE(reader.next(line));
        const Kind unjudged = line.kind;
        judge(line);
        BOOST_CHECK(unjudged == line.kind || (unjudged == Kind::entry && line.kind == Kind::no_value));
        BOOST_CHECK(line.kind == expected.kind);
        BOOST_CHECK_EQUAL(expected.column, line.column);
        if (!expected.name.empty()) {
            BOOST_CHECK_EQUAL(expected.name, line.name);
            BOOST_CHECK_EQUAL(line.text.substr(line.column), line.value_text);
        }
        BOOST_CHECK(expected.line == line.text);
        BOOST_CHECK_EQUAL(number, line.number);
        BOOST_CHECK_EQUAL(offset, line.place.offset);
        BOOST_CHECK_EQUAL(size, line.place.size);
    }
}

void check_all(const std::vector<Case>& lines) {
    std::string text;
    for (const Case& expected : lines) {
        text += expected.line + "\n";
    }
    for (const bool is_terminated : {true, false}) {
        const std::string read = text.substr(0, text.size() - (is_terminated ? 0 : 1));
        Reader reader(read);
        Line line;
        std::size_t offset = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const bool has_line_feed = is_terminated || i + 1 < lines.size();
            const std::size_t size = lines[i].line.size() + (has_line_feed ? 1 : 0);
            if (size > 0) {
                check_next(reader, line, lines[i], i + 1, offset, size);
            }
            offset += size;
        }
        BOOST_CHECK(!reader.next(line));
        BOOST_CHECK(!reader.next(line));
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(line_reader)

BOOST_AUTO_TEST_CASE(an_empty_text_has_no_line) {
    Reader reader("");
    Line line;
    BOOST_CHECK(!reader.next(line));
}

BOOST_AUTO_TEST_CASE(each_kind_of_line_is_told_with_its_column_and_name) {
    for (const Case& expected : cases()) {
        check_all({expected});
    }
}

BOOST_AUTO_TEST_CASE(lines_are_numbered_and_placed_in_their_order) {
    std::vector<Case> undamaged;
    for (const Case& expected : cases()) {
        if (expected.kind != Kind::damaged) {
            undamaged.push_back(expected);
        }
    }
    check_all(undamaged);
}

BOOST_AUTO_TEST_CASE(a_damaged_line_changes_nothing_about_the_others) {
    check_all(cases());
    check_all({cases().rbegin(), cases().rend()});
}

BOOST_AUTO_TEST_CASE(the_value_of_an_entry_is_what_follows_its_column) {
    const std::string text = "k = I1\nk\t=\tS x \n";
    Reader reader(text);
    Line line;
    BOOST_REQUIRE(reader.next(line));
    BOOST_CHECK_EQUAL("I1", line.value_text);
    BOOST_REQUIRE(reader.next(line));
    BOOST_CHECK_EQUAL("S x ", line.value_text);
}

BOOST_AUTO_TEST_SUITE_END()
