// What operations cost: how often they write and flush, how much, and in which order.
#include <algorithm>
#include <filesystem>
#include <string>

#include "calls.h"
#include "format/layout.h"
#include "support.h"
#include "watched_system.h"

using namespace std::string_literals;
using watched::before_call;
using watched::Call;
using watched::Fate;

namespace fs = std::filesystem;

BOOST_AUTO_TEST_SUITE(disk)

BOOST_AUTO_TEST_CASE(a_set_costs_one_flush_and_two_writes_of_its_line_and_two_bytes) {
    const OpenStore store("# a comment\n");
    for (const bool is_relaxed : {false, true}) {
        zelva_core_settings_set_durability(is_relaxed ? ZELVA_CORE_DURABILITY_RELAXED : ZELVA_CORE_DURABILITY_FULL);
        int usual = 0;
        for (int i = 0; i < 2000; ++i) {
            const std::string key = "key" + std::to_string(i % 20);
            const std::string text = bait(static_cast<std::size_t>(i) % (zelva::format::sector_size - 12));
            const bool is_present = zelva_core_settings_does_key_exist(key.c_str());
            const auto size = fs::file_size(store_path());
            zelva_core_status status{};
            const Calls calls([&] { status = set(key, text + std::to_string(i % 7)); });
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, status);
            if (!is_present || calls.count("renameat2") > 0 || fs::file_size(store_path()) != size) {
                continue;  // a first set, a compaction, a step of padding
            }
            ++usual;
            const std::size_t line = (key + " = S" + text + "n\n").size();
            BOOST_REQUIRE(line <= zelva::format::sector_size);
            BOOST_CHECK_EQUAL(is_relaxed ? 0U : 1U, calls.count("fdatasync"));
            BOOST_CHECK_EQUAL(0U, calls.count("fsync"));
            BOOST_CHECK(calls.count("pread") <= 2);  // whether the padding and the old line are what they were
            BOOST_CHECK(calls.count("pwrite") <= 2);
            BOOST_CHECK(calls.bytes_written() <= line + 2);
        }
        BOOST_TEST_MESSAGE(usual << " sets that are no first ones, no compactions, no steps of padding");
        BOOST_CHECK(usual > 1500);
    }
}

BOOST_AUTO_TEST_CASE(a_new_key_costs_one_flush_and_one_write) {
    const OpenStore store("# a comment\n");
    set("other", 1);
    const Calls calls([] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 1)); });
    BOOST_CHECK_EQUAL(1U, calls.count("fdatasync"));
    BOOST_CHECK_EQUAL(1U, calls.count("pwrite"));
}

BOOST_AUTO_TEST_CASE(a_line_of_more_than_a_sector_costs_two_flushes_or_a_relaxed_one_each_time) {
    constexpr std::size_t sector = zelva::format::sector_size;
    struct Case {
        std::string key;
        std::size_t size;
        std::size_t flushes;
        std::size_t relaxed_flushes;
    };
    // Of the two lines of a new key the default is always brought to the disk before the value.
    const Case cases[] = {
        {"t", sector, 2, 1},        {"t", sector + 1, 2, 1},  {"t", 9000, 2, 1},
        {"t", 9001, 2, 1},          {"t", sector - 10, 1, 0}, {"t", sector, 2, 1},
        {"pair", sector / 2, 2, 1}, {"long", sector, 4, 3},   {"long", sector + 1, 2, 1},
    };
    for (const bool is_relaxed : {false, true}) {
        const OpenStore store("#" + std::string(100'000, '.') + "\nt = St\n");  // nothing is compacted
        warm_up();
        zelva_core_settings_set_durability(is_relaxed ? ZELVA_CORE_DURABILITY_RELAXED : ZELVA_CORE_DURABILITY_FULL);
        for (const Case& line : cases) {
            const Calls calls([&] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(line.key, bait(line.size))); });
            BOOST_TEST_CONTEXT(line.key << " of " << line.size << " bytes" << (is_relaxed ? ", relaxed" : "")) {
                BOOST_CHECK_EQUAL(is_relaxed ? line.relaxed_flushes : line.flushes, calls.count("fdatasync"));
                BOOST_CHECK_EQUAL(0U, calls.count("renameat2"));
            }
        }
    }
}

// The disk writes the two lines as one where they lie in one sector; otherwise the value's has to go first.
BOOST_AUTO_TEST_CASE(a_delete_costs_a_flush_within_a_sector_and_two_beyond_and_one_less_when_relaxed) {
    const std::string filler = "#" + std::string(600, '.') + "\n";
    for (const bool is_relaxed : {false, true}) {
        for (const std::string& text : {std::string(), filler}) {
            const OpenStore store("k = I1\n" + text + "DEFAULT_k = I1\n");
            zelva_core_settings_sync();
            zelva_core_settings_set_durability(is_relaxed ? ZELVA_CORE_DURABILITY_RELAXED : ZELVA_CORE_DURABILITY_FULL);
            const Calls calls(
                [] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k")); });
            BOOST_CHECK_EQUAL((text.empty() ? 1U : 2U) - (is_relaxed ? 1U : 0U), calls.count("fdatasync"));
            BOOST_CHECK_EQUAL(text.empty() ? 1U : 2U, calls.count("pwrite"));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_version_that_is_there_is_flushed_once) {
    const OpenStore store("Version = I5\n");
    unsigned version = 0;
    for (const std::size_t flushes : {1U, 0U}) {
        const Calls calls([&version] { zelva_core_settings_get_and_set_version(&version, 5); });
        BOOST_CHECK_EQUAL(flushes, calls.count("fdatasync"));
    }
}

BOOST_AUTO_TEST_CASE(a_first_version_does_not_come_by_the_default_of_a_deleted_one) {
    const OpenStore store("k = I1\n");
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("Version", 7));
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("Version"));
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_FULL);
    unsigned version = 0;
    const Calls calls([&version] { zelva_core_settings_get_and_set_version(&version, 3); });
    std::string names;
    for (const Call& call : calls.all) {
        names += call.name == "pwrite"s || call.name == "fdatasync"s ? call.name + " "s : "";
    }
    // The withdrawal of what the deleted one had is on the disk before there is a version again.
    BOOST_CHECK_EQUAL("fdatasync pwrite fdatasync ", names);
    BOOST_CHECK_EQUAL(0U, lines_of_file().count("DEFAULT_Version"));
    BOOST_CHECK_EQUAL(Value(3), value_of("Version"));
}

BOOST_AUTO_TEST_CASE(a_set_in_a_store_of_a_thousand_keys_writes_less_than_three_times_its_line) {
    const OpenStore store;
    std::size_t lines = 0;
    const Calls calls([&] {
        for (int i = 0; i < 100'000; ++i) {
            const std::string key = "program.section.setting" + std::to_string(i * 7919 % 1000);
            const int value = i * 31;
            lines += (key + " = I" + std::to_string(value) + "\n").size();
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, value));
        }
    });
    const double ratio = static_cast<double>(calls.bytes_written()) / static_cast<double>(lines);
    BOOST_TEST_MESSAGE("100,000 sets: " << ratio << " times their lines in " << calls.count("pwrite") << " writes, "
                                        << calls.count("fdatasync") << " flushes, " << calls.count("renameat2")
                                        << " compactions");
    BOOST_CHECK(ratio < 3);
}

BOOST_AUTO_TEST_CASE(what_changes_nothing_writes_nothing) {
    const OpenStore store("k = I1\nDEFAULT_k = I2\n");
    set("k", 3);
    zelva_core_settings_sync();
    const std::string counter = read_file(shared_state_path());
    const Calls calls([] {
        set("k", 3);
        set_default("k", 2);
        set("k", "x"s);
        zelva_core_settings_sync();
        zelva_core_settings_delete_key("absent");
        zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
        set("k", 3);
    });
    BOOST_CHECK(counter == read_file(shared_state_path()));  // other programs do not read the file again
    set("k", 4);
    BOOST_CHECK_EQUAL(0U, Calls([] { set("k", 4); }).count("fdatasync"));
    for (const char* name : {"pwrite", "fdatasync", "fsync", "ftruncate", "renameat2"}) {
        BOOST_CHECK_EQUAL(0U, calls.count(name));
    }
}

// Texts are compared, and writes counted: these checks are not to rely on the library's own comparison.
BOOST_AUTO_TEST_CASE(a_set_of_json_writes_if_the_canonical_texts_differ_and_only_then) {
    const auto text_by = [](zelva_core_status (*get)(const char*, char**)) {
        char* text = nullptr;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, get("j", &text));
        std::string copy = text == nullptr ? "" : text;
        std::free(text);
        return copy;
    };
    const OpenStore store;
    std::string value;
    std::string value_default;
    const auto check = [&](bool is_default, const char* text, const std::string& canonical) {
        const bool is_first = value.empty();
        const bool is_new = canonical != (is_default ? value_default : value);
        (is_default ? value_default : value) = canonical;
        value_default = is_first ? canonical : value_default;
        const Calls calls([&] {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, is_default
                                                              ? zelva_core_settings_set_default_json_value("j", text)
                                                              : zelva_core_settings_set_json_value("j", text));
        });
        BOOST_CHECK_EQUAL(is_new, calls.count("pwrite") > 0);
        BOOST_CHECK_EQUAL(value, text_by(zelva_core_settings_get_json_value));
        BOOST_CHECK_EQUAL(value_default, text_by(zelva_core_settings_get_default_json_value));
        const auto lines = lines_of_file();
        BOOST_CHECK_EQUAL("j = J" + value, lines.at("j").text);
        BOOST_CHECK_EQUAL("DEFAULT_j = J" + value_default, lines.at("DEFAULT_j").text);
    };
    for (const bool is_default : {false, true}) {
        check(is_default, "{\"a\":1}", "{ \"a\" : 1 }");
        check(is_default, "{\"a\":2}", "{ \"a\" : 2 }");
        check(is_default, "{ \"a\" : 2 }", "{ \"a\" : 2 }");
        check(is_default, "{\n\"a\":2.0}\n", "{ \"a\" : 2 }");
        check(is_default, "{\"b\":2}", "{ \"b\" : 2 }");
        check(is_default, "[1,2]", "[ 1, 2 ]");
        check(is_default, "[2,1]", "[ 2, 1 ]");
        check(is_default, "[2,1,0]", "[ 2, 1, 0 ]");
        check(is_default, "0", "0");
        check(is_default, "-0", "-0");
        check(is_default, "\"\"", "\"\"");
        check(is_default, "null", "null");
    }
}

BOOST_AUTO_TEST_CASE(a_get_makes_no_system_call) {
    const OpenStore store("k = I1\nDEFAULT_k = I2\n");
    set("l", 1);
    int number = 0;
    const Calls calls([&number] {
        zelva_core_settings_type type{};
        zelva_core_settings_get_int_value("k", &number);
        zelva_core_settings_get_default_int_value("k", &number);
        zelva_core_settings_get_type("k", &type);
        zelva_core_settings_does_key_exist("k");
        zelva_core_free_string_array(zelva_core_settings_get_all_keys());
    });
    BOOST_CHECK_EQUAL(2, number);
    BOOST_CHECK_EQUAL("", calls.names());
}

BOOST_AUTO_TEST_CASE(a_new_file_reaches_the_disk_before_it_takes_the_old_one_s_place_and_after) {
    const OpenStore store(wasteful_file());
    const Calls calls([] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 2)); });
    const std::string names = calls.names();
    const std::size_t rename = names.find("fsync renameat2 ");
    BOOST_REQUIRE(rename != std::string::npos);
    BOOST_CHECK(names.find("fsync ", rename + 6) != std::string::npos);
    BOOST_CHECK(names.find("pwrite", rename) == std::string::npos);
    BOOST_CHECK(read_file(store_path()).find("=ld") == std::string::npos);
}

BOOST_AUTO_TEST_CASE(a_new_file_is_not_flushed_before_it_grows) {
    const OpenStore store(wasteful_file() + "text = Sshort\n");
    BOOST_REQUIRE_EQUAL(1U, Calls([] { set("k", 2); }).count("renameat2"));
    BOOST_CHECK_EQUAL(2U, Calls([] { set("text", bait(700)); }).count("fdatasync"));  // the line; its first byte
}

BOOST_AUTO_TEST_CASE(a_get_from_a_file_system_that_is_read_only_makes_no_system_call) {
    for (const int error : {EACCES, EROFS}) {
        zelva_core_settings_deinit();
        write_file(store_path(), "k = I1\n");
        bool is_first = true;
        before_call = [&is_first, error](const Call& call) {
            return call.name == "open"s && std::exchange(is_first, false) ? Fate{error} : Fate{};
        };
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        before_call = nullptr;
        const Calls calls([] { BOOST_CHECK_EQUAL(Value(1), value_of("k")); });
        BOOST_CHECK_EQUAL("", calls.names());
    }
    zelva_core_settings_deinit();
    fs::remove(store_path());
}

BOOST_AUTO_TEST_CASE(a_close_flushes_the_new_file_and_nothing_where_none_is_needed) {
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(0U, Calls([] { zelva_core_settings_deinit(); }).count("open"));
    for (const zelva_core_durability durability : {ZELVA_CORE_DURABILITY_FULL, ZELVA_CORE_DURABILITY_RELAXED}) {
        zelva_core_settings_init("test");
        zelva_core_settings_set_durability(durability);
        set("k", durability == ZELVA_CORE_DURABILITY_FULL ? 2 : 3);
        const Calls calls([] { zelva_core_settings_deinit(); });
        BOOST_CHECK_EQUAL(0U, calls.count("fdatasync"));
        BOOST_CHECK_EQUAL(1U, calls.count("fsync"));
    }
    zelva_core_settings_init("test");
    set("new", 2);  // leaves no old line
    const Calls calls([] { zelva_core_settings_deinit(); });
    BOOST_CHECK_EQUAL(0U, calls.count("fdatasync") + calls.count("fsync"));
    BOOST_CHECK_EQUAL(1U, calls.count("ftruncate"));
    BOOST_CHECK_EQUAL("k = I3\nDEFAULT_new = I2\nnew = I2\n", read_file(store_path()));
}

BOOST_AUTO_TEST_CASE(a_new_folder_reaches_the_disk) {
    fs::remove_all(fs::path(Folder::path()).parent_path());
    const Calls calls([] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test")); });
    int folders = 0;
    bool is_flushed = true;
    for (const Call& call : calls.all) {
        if (call.name == "mkdir"s) {
            ++folders;
            BOOST_CHECK(std::exchange(is_flushed, false));
        }
        is_flushed = is_flushed || call.name == "fsync"s;
    }
    BOOST_CHECK_EQUAL(3, folders);  // the last one is that of shared state, which means nothing after a loss of power
    zelva_core_settings_deinit();
}

// Who has made it may have died before it reached the disk.
BOOST_AUTO_TEST_CASE(a_folder_that_is_there_without_its_shared_state_reaches_the_disk) {
    zelva_core_settings_deinit();
    fs::create_directories(Folder::path());
    fs::remove_all(Folder::path() + "/.zelva");
    const Calls calls([] { BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test")); });
    BOOST_CHECK_EQUAL(1U, calls.count("fsync"));
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_SUITE_END()
