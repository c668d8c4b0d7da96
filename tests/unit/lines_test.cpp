// The lines of a store's file: what a write, a delete, a compaction and a close leave of them.
#include <filesystem>
#include <string>

#include "support.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

/// A line that does not fit into a sector begins in the next one, after a line feed.
std::string without_gaps(std::string text) {
    for (std::size_t gap = 0; (gap = text.find("\n\n")) != std::string::npos;) {
        text.erase(gap, 1);
    }
    return text.substr(text.find_first_not_of('\n'));
}

std::string file_after_close() {
    zelva_core_settings_deinit();
    std::string text = read_file(store_path());
    zelva_core_settings_init("test");
    return text;
}

}  // namespace

BOOST_AUTO_TEST_SUITE(file)

BOOST_AUTO_TEST_CASE(each_type_is_written_in_its_one_form) {
    const OpenStore store;
    for (const TypeFunctions& type : types()) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default(type.name, type.first));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(type.name, type.second));
    }
    BOOST_CHECK_EQUAL(
        "DEFAULT_string = Sone\nstring = Stwo\n"
        "DEFAULT_json = J{ \"a\" : 1 }\njson = J[ true ]\n"
        "DEFAULT_int = I7\nint = I-8\n"
        "DEFAULT_bool = BTRUE\nbool = BFALSE\n"
        "DEFAULT_double = D0.1\ndouble = D-2.5e+300\n"
        "DEFAULT_arrayofstring = ASa,b\\,c,\narrayofstring = AS \n"
        "DEFAULT_arrayofint = AI1,-2\narrayofint = AI\n"
        "DEFAULT_arrayofbool = ABTRUE,FALSE\narrayofbool = ABFALSE\n"
        "DEFAULT_arrayofdouble = AD0.5,1e-07\narrayofdouble = AD3.023\n",
        without_gaps(OpenStore::file()));
}

BOOST_AUTO_TEST_CASE(a_write_changes_its_own_line_and_leaves_every_other_byte) {
    const OpenStore store(
        "# a comment\n"
        "\n"
        "a=I1\n"
        "k   =   I 1 and more\n"
        "rejected\r\n"
        "; another\n"
        "b\t= Sx\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("b", "y"s));
    BOOST_CHECK_EQUAL(
        "# a comment\n"
        "\n"
        "a=I1\n"
        "rejected\r\n"
        "; another\n"
        "b\t= Sx\n"
        "k = I2\n"
        "DEFAULT_b = Sy\n",
        OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_key_that_has_several_lines_is_written_and_deleted_like_any_other) {
    const OpenStore store("k = Sone\nother = I1\nk = I2\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL("other = I1\nk = I3\n", OpenStore::file());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL("other = I1\n", OpenStore::file());
}

// In another page it would cost the disk a second write.
BOOST_AUTO_TEST_CASE(an_old_line_is_withdrawn_at_once_in_the_same_page_and_otherwise_when_the_file_grows_or_is_closed) {
    const std::string filler = "#" + std::string(5000, '.') + "\n";
    const OpenStore store("k = I1\nl = I1\n" + filler);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK_EQUAL("k = I1\nl = I1\n" + filler + "DEFAULT_other = I1\nother = I1\nk = I2\n", OpenStore::file());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL("k = I1\nl = I1\n" + filler + "DEFAULT_other = I1\nother = I1\nk = I3\n", OpenStore::file());
    OpenStore::restart();
    BOOST_CHECK_EQUAL("k = I3\nl = I1\n" + filler + "DEFAULT_other = I1\nother = I1\n", OpenStore::file());

    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", 2));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 2));
    BOOST_CHECK(OpenStore::file().find("l = I1\n") != std::string::npos);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_sync());
    BOOST_CHECK(OpenStore::file().find("l = I1\n") == std::string::npos);

    write_file(store_path(), "k = I1\n" + filler);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", std::string()));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK(OpenStore::file().find("k = I1\n") == 0);
    for (int i = 0; i < 10; ++i) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("other", std::string(450, static_cast<char>('a' + i))));
    }
    BOOST_CHECK(OpenStore::file().find("k = I1\n") == std::string::npos);
}

BOOST_AUTO_TEST_CASE(a_write_keeps_what_a_person_has_changed_in_the_file_meanwhile) {
    const OpenStore store("k = I1\n");
    write_file(store_path(), "# mine\nk = I1\nnew = Sline\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    BOOST_CHECK_EQUAL("# mine\nnew = Sline\nk = I2\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_write_after_a_damaged_end_of_the_file_is_read_back) {
    const OpenStore store("a = I1\n"s + std::string(100, '\0'));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
    OpenStore::restart();
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    BOOST_CHECK_EQUAL(Value(1), value_of("a"));
}

BOOST_AUTO_TEST_CASE(a_file_of_blank_and_of_replaced_lines_is_compacted) {
    std::string replaced;
    for (int i = 0; i < 1000; ++i) {
        replaced += "k = I" + std::to_string(i) + "\n";
    }
    for (const std::string& text : {std::string(10000, '\n') + "k = I0\n", replaced}) {
        const OpenStore store(text);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", -1));
        BOOST_CHECK_EQUAL(4096U, fs::file_size(store_path()));
    }
}

// A line that is written over the NULs would end them, and what follows would be read.
BOOST_AUTO_TEST_CASE(a_write_in_the_place_of_NULs_does_not_bring_back_what_stands_behind_them) {
    for (std::size_t count = 1; count < 30; ++count) {
        const OpenStore store("k = I1\n" + std::string(count, '\0') + "x = I5\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2));
        BOOST_CHECK_EQUAL(0U, lines_of_file().count("x"));
        OpenStore::restart();
        BOOST_CHECK(keys() == Strings{"k"});
        BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    }
}

BOOST_AUTO_TEST_CASE(a_compaction_keeps_the_last_line_of_each_key_and_all_that_means_nothing_in_their_order) {
    // The last line has no line feed, so the file is written anew.
    const OpenStore store("# one\n\n\n\nrejected\n=ld = I1\nk = I1\nb\0d = I1\nDEFAULT_k = I7\nk = I2\n# two\nl = I3"s);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 5));
    const std::string text = read_file(store_path());
    BOOST_CHECK_EQUAL("# one\n\n\nrejected\nk = I5\nDEFAULT_k = I7\n# two\nl = I3",
                      text.substr(0, text.find_last_not_of('\n') + 1));
    BOOST_CHECK(names_in_folder() == Strings{"test"});
    BOOST_CHECK_EQUAL(4096U, text.size());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("l", 4));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL("# one\n\n\nrejected\n# two\nl = I4\n", OpenStore::file());
    OpenStore::restart();
    BOOST_CHECK(keys() == Strings{"l"});
    BOOST_CHECK_EQUAL(Value(4), value_of("l"));
}

// Whichever of them are superseded, and wherever they stand.
BOOST_AUTO_TEST_CASE(a_delete_leaves_no_line_of_the_key_and_of_its_default) {
    std::string filler;
    for (int i = 0; i < 100; ++i) {
        filler += "#" + std::string(46, '.') + "\n";
    }
    for (const std::string& text :
         {"key1 = I1\nDEFAULT_key1 = I1\n" + filler, filler + "DEFAULT_key1 = I1\nkey1 = I1\n",
          "DEFAULT_key1 = I2\nkey1 = I2\n" + filler + "key1 = I1\nDEFAULT_key1 = I1\n",
          "key1 = I1\nother = I1\n" + filler}) {
        for (int kind = 0; kind < 8; ++kind) {
            const OpenStore store(text);
            zelva_core_settings_set_durability((kind & 1) == 0 ? ZELVA_CORE_DURABILITY_FULL
                                                               : ZELVA_CORE_DURABILITY_RELAXED);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("grow", 1));
            if ((kind & 2) != 0) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("key1", 5));
            }
            if ((kind & 4) != 0) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key1", 6));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key1", 8));
            }
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("key1"));
            BOOST_CHECK_EQUAL(std::string::npos, OpenStore::file().find("key1"));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_set_of_the_value_that_a_person_has_written_otherwise_writes_the_line) {
    for (const char* line : {"a=Sone", "a  = Sone", " a = Sone", "a =Sone", " a= Sone", "a\t= Sone", "a =\tSone"}) {
        const OpenStore store(line + "\nDEFAULT_a=Sone\n"s);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("a", "one"s));
        BOOST_CHECK_EQUAL("DEFAULT_a=Sone\na = Sone\n", OpenStore::file());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("a", "one"s));
        BOOST_CHECK_EQUAL("a = Sone\nDEFAULT_a = Sone\n", OpenStore::file());
    }
    const std::pair<const char*, Value> others[] = {
        {"a = I7notanint", 7}, {"a = B1", true}, {"a = B TRUE", true}, {"a = D0.50", 0.5}, {"a = AI1, 2", Ints{1, 2}}};
    for (const auto& [line, value] : others) {
        const OpenStore store(line + "\n"s);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("a", value));
        BOOST_CHECK(OpenStore::file().find(line + "\n"s) == std::string::npos);
        const std::string written = OpenStore::file();
        BOOST_CHECK_EQUAL(0U, written.find("a = "));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("a", value));
        BOOST_CHECK_EQUAL(written, OpenStore::file());
    }
}

BOOST_AUTO_TEST_CASE(a_close_leaves_the_file_as_a_person_would_have_written_it) {
    const OpenStore store(
        "# how bright\n"
        "brightness = I50\n"
        "\n"
        "\n"
        "# where\n"
        "server = Sa\n"
        "not an entry\n"
        "DEFAULT_brightness = I50\n"
        "; the end\n");
    for (int i = 0; i < 1000; ++i) {
        zelva_core_settings_set_durability(i < 900 ? ZELVA_CORE_DURABILITY_FULL : ZELVA_CORE_DURABILITY_RELAXED);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("brightness", i));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("server", std::string(static_cast<std::size_t>(i), 'x')));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("new", i));
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("server", "b"s));
    const std::string expected =
        "# how bright\n"
        "brightness = I999\n"
        "\n"
        "\n"
        "# where\n"
        "server = Sb\n"
        "not an entry\n"
        "DEFAULT_brightness = I50\n"
        "; the end\n"
        "DEFAULT_new = I0\n"
        "new = I999\n";
    BOOST_CHECK_EQUAL(expected, file_after_close());
    BOOST_CHECK(names_in_folder() == Strings{"test"});

    // A deleted key leaves no trace; a store that is not changed is not written.
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("new"));
    BOOST_CHECK_EQUAL(expected.substr(0, expected.find("DEFAULT_new")), file_after_close());
    write_file(store_path(), "=ld = I1\nk = I1\n\n\n\n");
    OpenStore::restart();
    BOOST_CHECK_EQUAL("=ld = I1\nk = I1\n\n\n\n", file_after_close());
}

// Lines that do not fit into a sector begin the next one; what is left between them is no blank line of a person's.
BOOST_AUTO_TEST_CASE(a_close_leaves_no_blank_lines_but_a_person_s) {
    for (const bool is_known : {true, false}) {
        const OpenStore store("# mine\n\na = I1\n");
        std::string expected = "# mine\n\na = I1\n";
        for (int i = 0; i < 40; ++i) {
            const std::string key = "key" + std::to_string(i);
            const std::string value(static_cast<std::size_t>(i * 37 % 300), 'v');
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, value));
            expected += "DEFAULT_" + key + " = S" + value + "\n" + key + " = S" + value + "\n";
            if (!is_known && i == 20) {
                BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_reload());
            }
        }
        BOOST_CHECK_EQUAL(expected, file_after_close());
    }
}

BOOST_AUTO_TEST_CASE(a_close_leaves_two_blank_lines_at_most_where_a_deleted_key_stood) {
    const OpenStore store("a = I1\n\n\nb = I1\n\n\nc = I1\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("b"));
    BOOST_CHECK_EQUAL("a = I1\n\n\nc = I1\n", file_after_close());
}

// Of a withdrawn line the first byte is gone.
BOOST_AUTO_TEST_CASE(a_close_puts_keys_back_in_their_places_whose_names_differ_in_one_byte) {
    const OpenStore store("# a\na = I1\n# b\nb = I1\n# max\nmax = I1\n# min\nmin = I1\n");
    for (int i = 2; i < 5; ++i) {
        for (const char* key : {"a", "b", "max", "min"}) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, i));
        }
    }
    BOOST_CHECK_EQUAL("# a\na = I4\n# b\nb = I4\n# max\nmax = I4\n# min\nmin = I4\n", file_after_close());
}

BOOST_AUTO_TEST_CASE(a_close_of_a_large_store_withdraws_old_lines_and_takes_the_padding_away) {
    std::string text;
    for (int i = 0; text.size() < 270'000; ++i) {
        text += "key" + std::to_string(i) + " = I0\n";
    }
    for (const zelva_core_durability durability : {ZELVA_CORE_DURABILITY_FULL, ZELVA_CORE_DURABILITY_RELAXED}) {
        const OpenStore store(text);
        zelva_core_settings_set_durability(durability);
        std::string expected = text;
        for (int i = 0; i < 3000; ++i) {
            const std::string key = "key" + std::to_string(i);
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, 7));
            expected[i == 0 ? 0 : expected.find("\n" + key + " = ") + 1] = '=';
        }
        const std::string left = file_after_close();
        BOOST_CHECK(left.substr(0, text.size()) == expected);
        BOOST_CHECK_EQUAL('7', left[left.size() - 2]);
        BOOST_CHECK_EQUAL('\n', left.back());
    }
}

BOOST_AUTO_TEST_SUITE_END()
