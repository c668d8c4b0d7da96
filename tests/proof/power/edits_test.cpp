// Edits that neither the file's size nor its times tell of: in place, of the same size, within the second of the
// program's last write on a file system that counts seconds. The next write may miss such an edit, but takes nothing
// from any key but its own.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "format/line.h"
#include "simulated_disk.h"
#include "support.h"

using namespace std::string_literals;
using simulated::Disk;
using simulated::disk;

namespace {

/// The lines of each entry name that any reader of a file takes for an entry.
std::map<std::string, std::vector<std::string>> entries_of(const std::string& text) {
    std::map<std::string, std::vector<std::string>> entries;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        zelva::format::Entry entry;
        zelva::format::read_line(line, entry);
        if (entry.kind == zelva::format::Kind::entry) {
            entries[std::string(entry.name)].push_back(line);
        }
        begin = end + 1;
    }
    return entries;
}

std::string line_of(std::size_t number, std::size_t size) {
    const std::string key = "key" + std::to_string(100 + number);
    return key + " = S" + std::string(size, static_cast<char>('a' + number % 26)) + "\n";
}

std::string file_of_keys(std::size_t keys, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < keys; ++i) {
        text += "DEFAULT_" + line_of(i, size) + line_of(i, size);
    }
    return text;
}

/// What a person makes of a file, of the same size.
struct Edit {
    const char* name;
    std::string (*make)(std::string text);
};

std::string padding_of(const std::string& text) {
    return text.substr(text.find_last_not_of('\n') + 2);
}
std::string lines_of(const std::string& text) {
    return text.substr(0, text.find_last_not_of('\n') + 2);
}

const std::vector<Edit>& edits() {
    static const std::vector<Edit> all{
        {"a line is added at the end, and as many of the blank lines are removed",
         [](std::string text) {
             const std::string added = "mine = I1\n";
             const std::string padding = padding_of(text);
             return padding.size() < added.size() ? text : lines_of(text) + added + padding.substr(added.size());
         }},
        {"a line is added at the beginning",
         [](std::string text) {
             const std::string added = "mine = I1\n";
             const std::string padding = padding_of(text);
             return padding.size() < added.size() ? text : added + lines_of(text) + padding.substr(added.size());
         }},
        {"the first line goes to the end",
         [](std::string text) {
             const std::string first = text.substr(0, text.find('\n') + 1);
             return lines_of(text).substr(first.size()) + first + padding_of(text);
         }},
        {"two names of one length change places",
         [](std::string text) {
             const std::size_t one = text.find("\nkey101 =");
             const std::size_t other = text.find("\nkey102 =");
             if (one != std::string::npos && other != std::string::npos) {
                 std::swap(text[one + 6], text[other + 6]);
             }
             return text;
         }},
        {"the last line gets a byte longer, and a blank one is removed",
         [](std::string text) {
             const std::size_t end = lines_of(text).size();
             if (end < text.size()) {
                 text[end - 1] = '!';
             }
             return text;
         }},
        {"a line becomes a part of the one before it",
         [](std::string text) {
             const std::size_t end = text.find("\nkey104 =");
             if (end != std::string::npos) {
                 text[end] = ' ';
             }
             return text;
         }},
        {"old lines are removed, and blank ones take their room",
         [](std::string text) {
             std::string left;
             const std::string lines = lines_of(text);
             for (std::size_t begin = 0; begin < lines.size();) {
                 const std::size_t end = lines.find('\n', begin) + 1;
                 left += lines[begin] == '=' ? "" : lines.substr(begin, end - begin);
                 begin = end;
             }
             return left + std::string(text.size() - left.size(), '\n');
         }},
    };
    return all;
}

/// Edits the file as a person would, in place.
std::string edit(const Edit& made) {
    const Disk::Number file = disk.names_in(Folder::path()).at("test");
    const std::string before = disk.text();
    const std::string after = made.make(before);
    BOOST_REQUIRE_EQUAL(before.size(), after.size());
    disk.write(file, 0, after);
    return after;
}

void check_nothing_is_lost(const std::string& edited, const std::string& key, const std::string& what) {
    const auto before = entries_of(edited);
    const auto after = entries_of(disk.text());
    for (const auto& [name, lines] : before) {
        if (name == key || name == "DEFAULT_" + key) {
            continue;
        }
        const auto left = after.find(name);
        if (left == after.end() || left->second.back() != lines.back()) {
            BOOST_ERROR(what + ", lost: " + name);
        }
    }
}

/// The store "test" on a simulated disk whose time stands still, with its file open for writing.
struct StillStore {
    explicit StillStore(const std::string& text) {
        disk = Disk(text);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("mine", 1));
        disk.does_time_stand_still = true;
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("mine", 2));
    }
    ~StillStore() {
        zelva_core_settings_deinit();
        disk = Disk();
    }
    StillStore(const StillStore&) = delete;
    StillStore& operator=(const StillStore&) = delete;
};

Disk::Names& names_in_folder_of_store() {
    return disk.names_to_change(Folder::path());
}

}  // namespace

BOOST_AUTO_TEST_SUITE(edits_that_no_time_tells_of)

BOOST_AUTO_TEST_CASE(a_write_takes_nothing_from_another_key) {
    struct Write {
        const char* name;
        zelva_core_status (*run)();
    };
    const Write writes[] = {
        {"set", [] { return set("key101", "new"s); }},
        {"set of a long value", [] { return set("key101", std::string(700, 'x')); }},
        {"set of a new key", [] { return set("key999", 1); }},
        {"set of a default", [] { return set_default("key101", "new"s); }},
        {"delete", [] { return zelva_core_settings_delete_key("key101"); }},
        {"sync", [] { return zelva_core_settings_sync(); }},
        {"close", [] { return zelva_core_settings_deinit(); }},
    };
    for (const std::size_t size : {1U, 20U, 90U, 200U, 12000U}) {
        for (const Edit& made : edits()) {
            for (const Write& write : writes) {
                for (const bool is_relaxed : {false, true}) {
                    disk = Disk(file_of_keys(12, size));
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key105", "before"s));
                    zelva_core_settings_set_durability(is_relaxed ? ZELVA_CORE_DURABILITY_RELAXED
                                                                  : ZELVA_CORE_DURABILITY_FULL);
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key101", "before"s));
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key104", "before"s));
                    disk.does_time_stand_still = true;
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("key104", "again"s));
                    const std::string edited = edit(made);
                    const std::string what = write.name + ", "s + made.name + ", values of " + std::to_string(size);
                    const zelva_core_status status = write.run();
                    BOOST_CHECK_MESSAGE(status == ZELVA_CORE_STATUS_NO_ERROR, what + ": " + std::to_string(status));
                    const std::string key = write.name == "set of a new key"s                 ? "key999"
                                            : write.name == "sync"s || write.name == "close"s ? ""
                                                                                              : "key101";
                    check_nothing_is_lost(edited, key, what);
                    disk.does_time_stand_still = false;
                    zelva_core_settings_deinit();
                    check_nothing_is_lost(edited, key, what + ", after a close");
                    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
                    if (write.name == "set"s) {
                        BOOST_CHECK_EQUAL(Value("new"s), value_of("key101"));
                    }
                    if (write.name == "delete"s) {
                        BOOST_CHECK_MESSAGE(!zelva_core_settings_does_key_exist("key101"), what);
                    }
                    zelva_core_settings_deinit();
                }
            }
        }
    }
}

// Each of them alone tells of an edit.
BOOST_AUTO_TEST_CASE(a_write_finds_an_edit_by_any_one_sign_of_it) {
    using Sign = void (*)(Disk::Number file);
    const std::map<std::string, Sign> signs{
        {"its size", [](Disk::Number file) { disk.write(file, disk.files.at(file).text.size(), "\n"); }},
        {"the time of its content", [](Disk::Number file) { ++disk.files.at(file).modified; }},
        {"the time of its status", [](Disk::Number file) { ++disk.files.at(file).changed; }},
        {"another file in its place",
         [](Disk::Number file) {
             const Disk::Number other = disk.create();
             disk.files.at(other) = disk.files.at(file);
             names_in_folder_of_store()["test"] = other;
         }},
        {"a file of the same number on another device", [](Disk::Number file) { ++disk.files.at(file).device; }},
        {"the counter of another program",
         [](Disk::Number) {
             std::uint64_t counter = 0;
             std::memcpy(&counter, disk.shared.data(), sizeof counter);
             counter += 2;
             std::memcpy(disk.shared.data(), &counter, sizeof counter);
         }},
    };
    for (const auto& [name, show] : signs) {
        BOOST_TEST_CONTEXT(name) {
            const StillStore store("k = I1\n");
            const Disk::Number file = disk.names_in(Folder::path()).at("test");
            disk.write(file, 0, "k = I5\n");
            show(file);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_copy_int_key("k", "copy"));
            BOOST_CHECK_EQUAL(Value(5), value_of("copy"));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_write_finds_a_second_name_of_the_file_and_that_it_is_gone) {
    const StillStore store("k = I1\n");
    const std::string text = disk.text();
    names_in_folder_of_store()["other"] = disk.names_in(Folder::path()).at("test");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_IO_FAILED, set("k", 2));
    BOOST_CHECK_EQUAL(text, disk.text());
    names_in_folder_of_store().erase("other");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL(Value(3), value_of("k"));
}

BOOST_AUTO_TEST_SUITE_END()
