// What a person changes in the file, without a change of its size or of the time of its last change: on a file system
// that tells whole seconds, and where that time has been put back.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <set>

#include "mounted_folder.h"

namespace {

constexpr std::size_t most_keys = 64;

std::string key_of(int number) {
    return "s" + std::to_string(static_cast<std::size_t>(number) % most_keys);
}

/// No two numbers have the same value.
std::string value_of(int number) {
    const auto size = static_cast<std::size_t>(number) / most_keys % 150;
    return std::to_string(number) + std::string(size, static_cast<char>('a' + number % 26));
}

// Steps of programs.
int set_number(int number) {
    return zelva_core_settings_set_string_value(key_of(number).c_str(), value_of(number).c_str());
}
int set_durability(int durability) {
    return zelva_core_settings_set_durability(static_cast<zelva_core_durability>(durability));
}

struct stat attributes_of_file() {
    struct stat attributes {};
    BOOST_REQUIRE_EQUAL(0, stat(store_path().c_str(), &attributes));
    return attributes;
}

bool is_same_time(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

/// Lines, with their line feeds.
Strings lines_of(const std::string& text) {
    Strings lines;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        lines.push_back(text.substr(begin, end - begin));
    }
    return lines;
}

std::string joined(const Strings& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

/// A text of the same size, as a person may have made it.
using Edit = std::string (*)(const std::string& text, std::mt19937& random);

/// The number of some line that is not empty.
std::size_t some_line(const Strings& lines, std::mt19937& random) {
    for (;;) {
        const std::size_t number = random() % lines.size();
        if (lines[number] != "\n") {
            return number;
        }
    }
}

std::string with_lines_exchanged(const std::string& text, std::mt19937& random) {
    Strings lines = lines_of(text);
    std::swap(lines[some_line(lines, random)], lines[some_line(lines, random)]);
    return joined(lines);
}

/// In the place of line feeds at the end.
std::string with_a_line_more(const std::string& text, std::mt19937& random) {
    const std::size_t end = text.find_last_not_of('\n') + 2;
    const std::string line = "added = S" + std::string(random() % 60, 'x') + '\n';
    if (end + line.size() > text.size()) {
        return text;
    }
    Strings lines = lines_of(text.substr(0, end));
    const std::size_t place = random() % 3 == 0 ? lines.size() : random() % lines.size();
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place), line);
    return joined(lines) + std::string(text.size() - end - line.size(), '\n');
}

std::string with_another_value(const std::string& text, std::mt19937& random) {
    Strings lines = lines_of(text);
    std::string& line = lines[some_line(lines, random)];
    std::replace_if(
        line.begin() + static_cast<std::ptrdiff_t>(std::min(line.find(" = S"), line.size() - 4)) + 4, line.end() - 1,
        [](char letter) { return letter >= '0'; }, 'Z');
    return joined(lines);
}

/// Of any key, or default. Where it is the last of several lines, only old ones are left under the name, and whether
/// those count is left open.
std::string with_another_name(const std::string& text, std::mt19937& random) {
    Strings lines = lines_of(text);
    const std::size_t number = some_line(lines, random);
    std::string& line = lines[number];
    const std::string name = "\n" + line.substr(0, line.find(" = ")) + " = ";
    const std::size_t first = ("\n" + text).find(name);
    const bool is_only = first == ("\n" + text).rfind(name);
    line[0] = line[0] == '=' || !is_only ? line[0] : 't';
    return joined(lines);
}

/// Writes over the file.
void change_in_place(const std::string& text) {
    const int file = open(store_path().c_str(), O_WRONLY | O_CLOEXEC);
    BOOST_REQUIRE_EQUAL(text.size(), pwrite(file, text.data(), text.size(), 0));
    close(file);
}

/// A file of some keys, in the order of their numbers. Some have a default.
std::string some_text(std::size_t keys, std::mt19937& random) {
    std::string text;
    for (std::size_t i = 0; i < keys; ++i) {
        const int number = static_cast<int>(random() % 10000 * most_keys + i);
        const std::string line = key_of(number) + " = S" + value_of(number) + '\n';
        text += (random() % 2 == 0 ? "DEFAULT_" + line : "") + line;
    }
    return text;
}

/// One edit between a program's writes. Whether it was one of the same size and time that changes something.
bool check_edit(Edit edit, bool with_the_time_put_back, std::mt19937& random) {
    const std::size_t keys = 1 + random() % (random() % 2 == 0 ? 5 : most_keys);
    std::mt19937::result_type edits = 0;
    // What is set after the edit is never what the program has set before: that needs no write as far as it knows.
    const auto some_number = [&] {
        return static_cast<int>((edits * 10000 + random() % 10000) * most_keys + random() % keys);
    };
    write_file(store_path(), some_text(keys, random));
    Program program;
    program.run(set_durability, random() % 2 == 0 ? ZELVA_CORE_DURABILITY_FULL : ZELVA_CORE_DURABILITY_RELAXED);
    for (std::size_t count = 1 + random() % 8; count > 0; --count) {
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(set_number, some_number()));
    }

    const std::string before = read_file(store_path());
    const std::string edited = edit(before, random);
    const struct stat attributes = attributes_of_file();
    BOOST_REQUIRE_EQUAL(before.size(), edited.size());
    change_in_place(edited);
    if (with_the_time_put_back) {
        const timespec times[]{attributes.st_atim, attributes.st_mtim};
        BOOST_REQUIRE_EQUAL(0, utimensat(AT_FDCWD, store_path().c_str(), times, 0));
    }
    if (edited == before || !is_same_time(attributes.st_mtim, attributes_of_file().st_mtim)) {
        return false;
    }

    ++edits;
    auto expected = lines_of_file();
    std::set<std::string> new_defaults;  // of keys that the edited file does not have
    const auto check_file = [&] {
        const auto lines = lines_of_file();
        for (const auto& [name, line] : expected) {
            BOOST_REQUIRE_MESSAGE(lines.count(name) != 0, name << " is lost; the edited file: " << edited);
            BOOST_REQUIRE_MESSAGE(lines.at(name) == line, "instead of " << line.text << ": " << lines.at(name).text
                                                                        << "; the edited file: " << edited);
        }
        for (const auto& [name, line] : lines) {
            BOOST_REQUIRE_MESSAGE(expected.count(name) + new_defaults.count(name) != 0,
                                  line.text << " has come back; the edited file: " << edited);
        }
    };
    for (std::size_t count = 1 + random() % 3; count > 0; --count) {
        const int number = some_number();
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(set_number, number));
        if (expected.count(key_of(number)) == 0) {
            new_defaults.insert("DEFAULT_" + key_of(number));
        }
        expected[key_of(number)].text = key_of(number) + " = S" + value_of(number);
        check_file();
    }
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, program.run(close_store));
    check_file();
    return true;
}

void check_edits(const power::FileSystem& file_system, Edit edit, bool with_the_time_put_back) {
    MountedFolder disk(file_system);
    const int edits = is_campaign() ? 3000 : 60;
    for (int checked = 0, seed = 0; checked < edits; ++seed) {
        std::mt19937 random(static_cast<unsigned>(seed));
        BOOST_TEST_CONTEXT("seed " << seed) {
            checked += check_edit(edit, with_the_time_put_back, random) ? 1 : 0;
        }
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(edits)

MOUNTED_TEST_CASE(lines_that_are_exchanged_are_kept_within_one_time_stamp, ext4_of_whole_seconds) {
    check_edits(ext4_of_whole_seconds, with_lines_exchanged, false);
}
MOUNTED_TEST_CASE(a_line_that_is_added_is_kept_within_one_time_stamp, ext4_of_whole_seconds) {
    check_edits(ext4_of_whole_seconds, with_a_line_more, false);
}
MOUNTED_TEST_CASE(a_value_that_is_changed_is_kept_within_one_time_stamp, ext4_of_whole_seconds) {
    check_edits(ext4_of_whole_seconds, with_another_value, false);
}
MOUNTED_TEST_CASE(a_name_that_is_changed_is_kept_within_one_time_stamp, ext4_of_whole_seconds) {
    check_edits(ext4_of_whole_seconds, with_another_name, false);
}
MOUNTED_TEST_CASE(lines_that_are_exchanged_are_kept_though_the_time_is_put_back, ext4) {
    check_edits(ext4, with_lines_exchanged, true);
}
MOUNTED_TEST_CASE(a_line_that_is_added_is_kept_though_the_time_is_put_back, ext4) {
    check_edits(ext4, with_a_line_more, true);
}
MOUNTED_TEST_CASE(a_value_that_is_changed_is_kept_though_the_time_is_put_back, ext4) {
    check_edits(ext4, with_another_value, true);
}
MOUNTED_TEST_CASE(a_name_that_is_changed_is_kept_though_the_time_is_put_back, ext4) {
    check_edits(ext4, with_another_name, true);
}

BOOST_AUTO_TEST_SUITE_END()
