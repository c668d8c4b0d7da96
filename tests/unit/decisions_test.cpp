// What the rules decide of what a store holds.
#define BOOST_TEST_DYN_LINK
#include <boost/test/unit_test.hpp>
#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "format/reader.h"
#include "store/rules.h"

namespace {

using zelva::format::Entries;
using zelva::format::Slot;
using zelva::store::Decision;
using zelva::value::Value;
using Strings = std::vector<std::string>;
using Action = Decision::Action;

constexpr auto type_int = ZELVA_CORE_SETTING_TYPE_INT;

/// The entries of a file.
struct FileEntries : Entries {
    explicit FileEntries(std::string_view file) : Entries(std::string(file)) {
        zelva::format::Reader reader(text());
        for (zelva::format::Line line; reader.next(line);) {
            BOOST_REQUIRE(line.kind == zelva::format::Kind::entry);
            add(line.name);
        }
    }
};

/// The changes of a batch: the line that is written, or the name that is removed, and the old line in the file.
Strings changes_of(const Decision& decision, std::string_view file) {
    Strings changes;
    for (const zelva::format::Change& change : decision.batch) {
        std::string text = change.gives_value() ? change.line : "remove " + change.name + "\n";
        text.pop_back();
        if (change.place) {
            const std::string_view old = file.substr(change.place->offset, change.place->size);
            text.append(", was ").append(old.substr(0, old.find('\n')));
        }
        changes.push_back(text);
    }
    return changes;
}

void check(const Decision& decision, std::string_view file, Action action, const Strings& changes) {
    BOOST_TEST_CONTEXT("file: " << file) {
        const Strings found = changes_of(decision, file);
        BOOST_CHECK(decision.action == action);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, decision.status);
        BOOST_CHECK_EQUAL_COLLECTIONS(changes.begin(), changes.end(), found.begin(), found.end());
    }
}

void check_refused(const Decision& decision, std::string_view file, zelva_core_status status) {
    BOOST_TEST_CONTEXT("file: " << file) {
        BOOST_CHECK(decision.action == Action::refuse);
        BOOST_CHECK_EQUAL(status, decision.status);
        BOOST_CHECK(decision.batch.empty());
    }
}

/// Sets "k", or its default.
Decision set(std::string_view file, const Value& value, Slot slot = Slot::value) {
    return zelva::store::decide_set(FileEntries(file), "k", slot, value);
}
Decision set_default(std::string_view file, const Value& value) {
    return set(file, value, Slot::default_value);
}
/// Copies the int "k" to "l".
Decision copy(std::string_view file, std::string_view to = "l") {
    return zelva::store::decide_copy(FileEntries(file), type_int, "k", to);
}
Decision remove_k(std::string_view file) {
    return zelva::store::decide_remove(FileEntries(file), "k");
}

}  // namespace

BOOST_AUTO_TEST_SUITE(decisions)

BOOST_AUTO_TEST_CASE(an_absent_key_gets_its_default_and_then_its_value_whichever_is_set) {
    for (const Slot slot : {Slot::value, Slot::default_value}) {
        check(set("", 1, slot), "", Action::change, {"DEFAULT_k = I1", "k = I1"});
        check(set("other = I1\n", 1, slot), "other = I1\n", Action::change, {"DEFAULT_k = I1", "k = I1"});
    }
}

BOOST_AUTO_TEST_CASE(a_default_without_its_key_is_replaced_with_the_first_write_whatever_its_type) {
    for (const char* file : {"DEFAULT_k = I9\n", "DEFAULT_k = I1\n", "DEFAULT_k = Snine\n"}) {
        const std::string old(file, std::char_traits<char>::length(file) - 1);
        for (const Slot slot : {Slot::value, Slot::default_value}) {
            check(set(file, 1, slot), file, Action::change, {"DEFAULT_k = I1, was " + old, "k = I1"});
        }
    }
}

BOOST_AUTO_TEST_CASE(a_set_of_a_present_key_changes_its_own_line_alone) {
    const char* const file = "DEFAULT_k = I9\nk = I5\n";
    check(set(file, 1), file, Action::change, {"k = I1, was k = I5"});
    check(set(file, 9), file, Action::change, {"k = I9, was k = I5"});
    check(set_default(file, 1), file, Action::change, {"DEFAULT_k = I1, was DEFAULT_k = I9"});
    check(set_default(file, 5), file, Action::change, {"DEFAULT_k = I5, was DEFAULT_k = I9"});
}

BOOST_AUTO_TEST_CASE(a_set_of_the_same_value_keeps_the_entries) {
    const char* const file = "DEFAULT_k = I9\nk = I5\n";
    check(set(file, 5), file, Action::keep, {"k = I5, was k = I5"});
    check(set_default(file, 9), file, Action::keep, {"DEFAULT_k = I9, was DEFAULT_k = I9"});
    check(set("k = D0\n", -0.0), "k = D0\n", Action::change, {"k = D-0, was k = D0"});
}

BOOST_AUTO_TEST_CASE(a_line_that_a_person_has_written_otherwise_is_written_anew) {
    for (const std::string line : {"k = I5 and more", " k = I5", "k=I5", "k  = I5", "k = I05"}) {
        check(set(line + "\n", 5), line + "\n", Action::change, {"k = I5, was " + line});
        check(set(line, 5), line, Action::change, {"k = I5, was " + line});
    }
}

BOOST_AUTO_TEST_CASE(a_key_without_default_gets_one_when_that_is_set) {
    check(set("k = I5\n", 1), "k = I5\n", Action::change, {"k = I1, was k = I5"});
    for (const int value : {1, 5}) {
        check(set_default("k = I5\n", value), "k = I5\n", Action::change, {"DEFAULT_k = I" + std::to_string(value)});
    }
}

BOOST_AUTO_TEST_CASE(a_default_of_another_type_than_its_key_is_replaced) {
    const char* const file = "DEFAULT_k = Sx\nk = I5\n";
    check(set_default(file, 1), file, Action::change, {"DEFAULT_k = I1, was DEFAULT_k = Sx"});
}

BOOST_AUTO_TEST_CASE(a_value_or_a_default_of_another_type_than_the_key_is_refused) {
    for (const char* file : {"k = Sx\n", "DEFAULT_k = I1\nk = Sx\n", "k = J1\n", "k = D1\n", "k = AI1\n"}) {
        for (const Slot slot : {Slot::value, Slot::default_value}) {
            check_refused(set(file, 1, slot), file, ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        }
    }
}

BOOST_AUTO_TEST_CASE(a_copy_is_a_set_of_the_other_key_to_the_value) {
    const char* const file = "DEFAULT_k = I9\nk = I5\n";
    check(copy(file), file, Action::change, {"DEFAULT_l = I5", "l = I5"});
    check(copy(file, "k"), file, Action::keep, {"k = I5, was k = I5"});
    check(copy("k = I5\nDEFAULT_l = Sx\n"), "k = I5\nDEFAULT_l = Sx\n", Action::change,
          {"DEFAULT_l = I5, was DEFAULT_l = Sx", "l = I5"});
    check(copy("k = I5\nl = I1\n"), "k = I5\nl = I1\n", Action::change, {"l = I5, was l = I1"});
    check(copy("k = I5\nl = I5\n"), "k = I5\nl = I5\n", Action::keep, {"l = I5, was l = I5"});
}

BOOST_AUTO_TEST_CASE(a_copy_of_no_key_or_to_or_from_another_type_is_refused) {
    for (const char* file : {"", "DEFAULT_k = I5\n", "l = I5\n"}) {
        check_refused(copy(file), file, ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
    }
    for (const char* file : {"k = Sx\n", "k = I5\nl = Sx\n"}) {
        check_refused(copy(file), file, ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    }
}

BOOST_AUTO_TEST_CASE(a_key_is_removed_before_its_default) {
    const char* const file = "DEFAULT_k = I9\nk = I5\n";
    check(remove_k(file), file, Action::change, {"remove k, was k = I5", "remove DEFAULT_k, was DEFAULT_k = I9"});
    check(remove_k("k = Sx\n"), "k = Sx\n", Action::change, {"remove k, was k = Sx", "remove DEFAULT_k"});
    for (const char* absent : {"", "DEFAULT_k = I9\n", "l = I5\n"}) {
        check_refused(remove_k(absent), absent, ZELVA_CORE_STATUS_SETTING_NOT_PRESENT);
    }
}

BOOST_AUTO_TEST_CASE(a_version_is_written_without_a_default_if_it_is_higher_than_the_stored_one) {
    struct Case {
        const char* file;
        unsigned announced;
        unsigned old;
        Action action;
        Strings changes;
    };
    const Case cases[] = {
        {"", 3, 3, Action::change, {"remove DEFAULT_Version", "Version = I3"}},
        {"DEFAULT_k = I1\n", 3, 3, Action::change, {"remove DEFAULT_Version", "Version = I3"}},
        {"k = I1\n", 3, 0, Action::change, {"remove DEFAULT_Version", "Version = I3"}},
        {"DEFAULT_Version = I9\n",
         3,
         3,
         Action::change,
         {"remove DEFAULT_Version, was DEFAULT_Version = I9", "Version = I3"}},
        {"Version = I2\n", 3, 2, Action::change, {"Version = I3, was Version = I2"}},
        {"DEFAULT_Version = I9\nVersion = I2\n", 3, 2, Action::change, {"Version = I3, was Version = I2"}},
        {"Version = I-1\n", 1, 0, Action::change, {"Version = I1, was Version = I-1"}},
        {"Version = I3\n", INT_MAX, 3, Action::change, {"Version = I2147483647, was Version = I3"}},
        {"Version = I3\n", 3, 3, Action::keep, {}},
        {"Version = I5\nk = I1\n", 3, 5, Action::keep, {}},
    };
    for (const Case& test : cases) {
        unsigned old = 99;
        check(zelva::store::decide_announce(FileEntries(test.file), test.announced, old), test.file, test.action,
              test.changes);
        BOOST_CHECK_EQUAL(test.old, old);
    }
}

BOOST_AUTO_TEST_CASE(a_version_that_is_no_int_is_refused_and_leaves_the_result_as_it_was) {
    for (const char* file : {"Version = S3\n", "Version = D3\n", "k = I1\nVersion = BTRUE\n"}) {
        unsigned old = 99;
        check_refused(zelva::store::decide_announce(FileEntries(file), 3, old), file,
                      ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
        BOOST_CHECK_EQUAL(99U, old);
    }
}

BOOST_AUTO_TEST_CASE(a_sync_is_a_checkpoint_and_changes_no_entry) {
    check(zelva::store::decide_sync(), "", Action::checkpoint, {});
}

BOOST_AUTO_TEST_CASE(a_key_can_be_written_that_is_a_name_and_not_reserved) {
    for (const char* key : {"k", "a b", "default_k", "DEFAULT", "Version"}) {
        BOOST_CHECK_MESSAGE(zelva::store::is_writable_key(key), key);
    }
    for (const char* key : {"", " k", "k\t", "a=b", "a\nb", "#k", ";k", "DEFAULT_", "DEFAULT_k"}) {
        BOOST_CHECK_MESSAGE(!zelva::store::is_writable_key(key), key);
    }
}

BOOST_AUTO_TEST_SUITE_END()
