// The index of a file's text, in which values are judged late.
#define BOOST_TEST_DYN_LINK
#include <algorithm>
#include <array>
#include <boost/test/unit_test.hpp>
#include <cstdio>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "format/layout.h"

namespace {

using zelva::format::Change;
using zelva::format::Entries;
using zelva::format::Layout;
using zelva::format::Place;
using zelva::format::Slot;
using zelva::value::Value;

std::optional<Value> value_of(const Entries& entries, const std::string& key, Slot slot = Slot::value) {
    zelva::value::Content content;
    return entries.find(key, slot, content) ? std::optional(content.value()) : std::nullopt;
}

/// The key's number; 0 where it is absent.
int number_of(const Entries& entries, const std::string& key, Slot slot = Slot::value) {
    const auto value = value_of(entries, key, slot);
    return value ? std::get<int>(*value) : 0;
}

std::string keys_of(Entries& entries, std::string_view prefix = "") {
    std::string keys;
    entries.list(prefix, [&keys](std::string_view key) { keys.append(key).append(" "); });
    return keys;
}

/// A text that entries are put into, each at its end, and a map that holds the same.
class Twins {
  public:
    explicit Twins(std::string&& text) : entries_(std::move(text)) { zelva::format::read_layout(entries_); }

    void set(const std::string& key, int number) {
        model_[key] = number;
        const std::string line = zelva::format::line_of(key, number);
        put({key, line, place_of(key)}, {static_cast<std::uint32_t>(end_), static_cast<std::uint32_t>(line.size())});
        end_ += line.size() + 3;  // not always without a gap
    }

    void remove(const std::string& key) {
        model_.erase(key);
        put({key, "", place_of(key)}, {});
    }

    void check() {
        std::string keys;
        for (const auto& [key, number] : model_) {
            BOOST_CHECK_EQUAL(number, number_of(entries_, key));
            keys.append(key).append(" ");
        }
        BOOST_CHECK_EQUAL(keys, keys_of(entries_));
        BOOST_CHECK_EQUAL(!model_.empty(), entries_.has_keys());
    }

    const Entries& entries() const { return entries_; }

  private:
    std::optional<Place> place_of(const std::string& key) const { return entries_.place_of(key, Slot::value); }

    void put(const Change& change, Place place) {
        const std::size_t end = end_ + change.line.size();
        if (!entries_.is_prepared({change}, end)) {
            entries_.prepare({change}, end);
        }
        entries_.put(change, place);
    }

    Entries entries_;
    std::map<std::string, int> model_;
    std::size_t end_ = 0;
};

}  // namespace

BOOST_AUTO_TEST_SUITE(entries)

BOOST_AUTO_TEST_CASE(of_two_lines_of_a_name_the_later_one_that_is_an_entry_counts) {
    struct Case {
        std::string file;
        int number;
        std::vector<unsigned> superseded;  // where those lines begin
        std::size_t line;                  // where that of the entry begins
    };
    const std::vector<Case> cases{
        {"k = I1\nk = I2\n", 2, {0}, 7},
        {"k = I1\nk = Ix\n", 1, {}, 0},
        {"k = Ix\nk = I2\n", 2, {}, 7},
        {"k = Ix\nk = Iy\n", 0, {}, 0},
        {"k = I1\nk = Ix\nk = I3\n", 3, {0}, 14},
        {"k = Ix\nk = I2\nk = Iy\nk = I4", 4, {7}, 21},
        {"k = I1\nk = I2\nk = I3\n", 3, {0, 7}, 14},
        {"k = AI1\nk = AI1,x\nk = J{\n k\t=I4\n", 4, {0}, 25},
    };
    for (const Case& expected : cases) {
        BOOST_TEST_CONTEXT(expected.file) {
            Entries entries{std::string(expected.file)};
            const Layout layout = zelva::format::read_layout(entries);
            std::vector<unsigned> superseded;
            std::transform(layout.superseded.begin(), layout.superseded.end(), std::back_inserter(superseded),
                           [](const Place& place) { return place.offset; });
            BOOST_CHECK_EQUAL_COLLECTIONS(expected.superseded.begin(), expected.superseded.end(), superseded.begin(),
                                          superseded.end());
            BOOST_CHECK_EQUAL(expected.number, number_of(entries, "k"));
            const auto place = entries.place_of("k", Slot::value);
            BOOST_CHECK_EQUAL(expected.number != 0, place.has_value());
            BOOST_CHECK_EQUAL(expected.number != 0, entries.has_keys());
            BOOST_CHECK_EQUAL(expected.number != 0 ? "k " : "", keys_of(entries));
            if (place) {
                BOOST_CHECK_EQUAL(expected.line, place->offset);
                BOOST_CHECK_EQUAL(std::min(expected.file.find('\n', expected.line), expected.file.size() - 1) + 1,
                                  place->offset + place->size);
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(a_name_is_found_whole) {
    const std::string file = "a = I1\na b = I2\n\tab \t= I3\nDEFAULT_a = I4\nDEFAULT_ = I5\nlong name = I6";
    Entries entries{std::string(file)};
    zelva::format::read_layout(entries);
    BOOST_CHECK_EQUAL(1, number_of(entries, "a"));
    BOOST_CHECK_EQUAL(2, number_of(entries, "a b"));
    BOOST_CHECK_EQUAL(3, number_of(entries, "ab"));
    BOOST_CHECK_EQUAL(6, number_of(entries, "long name"));
    BOOST_CHECK_EQUAL(4, number_of(entries, "a", Slot::default_value));
    BOOST_CHECK_EQUAL(5, number_of(entries, "", Slot::default_value));
    for (const char* const absent : {"", " ", "b", "a ", "a b ", "ab \t", "long", "long nam", "long name ", "a = I1"}) {
        BOOST_CHECK_EQUAL(0, number_of(entries, absent));
    }
    BOOST_CHECK_EQUAL("a a b ab long name ", keys_of(entries));
    BOOST_CHECK_EQUAL("a a b ab ", keys_of(entries, "a"));
}

// A look-up passes through the entries that lie before it: by chance, 2,589 of 4,096 names have a place of their own.
BOOST_AUTO_TEST_CASE(names_that_are_alike_are_spread_over_the_table) {
    for (const char* const like :
         {"%04u", "k%u", "key%u", "%ukey", "settings/display/%u/brightness", "/org/system/%05u"}) {
        std::vector<bool> taken(4096);
        for (unsigned i = 0; i < 4096; ++i) {
            std::array<char, 64> name{};
            std::snprintf(name.data(), name.size(), like, i);
            taken[zelva::format::hash_of_name(name.data()) % 4096] = true;
        }
        BOOST_TEST_CONTEXT(like) {
            BOOST_CHECK_GT(std::count(taken.begin(), taken.end(), true), 2450);
        }
    }
}

// Names that share a hash are too rare to be met: so many differ in what follows a common beginning that each bucket
// has been taken by others.
BOOST_AUTO_TEST_CASE(what_is_put_and_removed_is_what_is_found) {
    std::mt19937 random(20261122);
    for (const bool is_listed_first : {false, true}) {
        Twins twins("");
        if (is_listed_first) {
            twins.check();
        }
        for (unsigned i = 0; i < 3000; ++i) {
            const std::string key = "k" + std::to_string(random() % 60);
            if (random() % 3 == 0) {
                twins.remove(key);
            } else {
                twins.set(key, static_cast<int>(i + 1));
            }
            if (i % 64 == 0 && is_listed_first) {
                twins.check();
            }
        }
        twins.check();
    }
}

BOOST_AUTO_TEST_CASE(values_of_all_types_are_what_was_read) {
    using Strings = std::vector<std::string>;
    const std::vector<std::pair<std::string, Value>> values{
        {"Stext", std::string("text")},
        {"S", std::string()},
        {"J{ \"a\" : true }", zelva::value::Json{"{ \"a\" : true }"}},
        {"J {\"a\":true}", zelva::value::Json{"{ \"a\" : true }"}},
        {"I-2147483648", INT32_MIN},
        {"B0", false},
        {"BTRUE", true},
        {"D0.1", 0.1},
        {"ASa, b\\,c", Strings{"a", "b,c"}},
        {"AI1,-2", std::vector<int>{1, -2}},
        {"AB", std::vector<bool>{}},
        {"AD0.5, 1e3", std::vector<double>{0.5, 1000}},
    };
    for (const auto& [text, value] : values) {
        Entries entries("DEFAULT_k = " + text + "\nk = " + text + "\n");
        zelva::format::read_layout(entries);
        for (const Slot slot : {Slot::value, Slot::default_value, Slot::value}) {
            BOOST_TEST_CONTEXT(text) {
                const auto found = value_of(entries, "k", slot);
                BOOST_CHECK(found && *found == value);
            }
        }
    }
}

BOOST_AUTO_TEST_SUITE_END()
