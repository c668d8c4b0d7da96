#include "support.h"

#include <stdlib.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::string folder_path;

/// A log tells of tests that were left out only where each test is told of.
bool needs(bool is_met, const char* otherwise, boost::unit_test::test_unit_id test) {
    if (!is_met) {
        std::cout << "SKIPPED: " << boost::unit_test::framework::get(test, boost::unit_test::TUT_ANY).full_name()
                  << ": " << otherwise << std::endl;
    }
    return is_met;
}

}  // namespace

Folder::Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "device.XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_path = path + "/programs/settings";
    std::filesystem::create_directories(folder_path);
    std::filesystem::permissions(path, std::filesystem::perms(0755));
    std::filesystem::permissions(folder_path, std::filesystem::perms::owner_all);
    setenv("ZELVA_CORE_SETTINGS_DIR", folder_path.c_str(), 1);
}

Folder::~Folder() {
    std::error_code error;
    std::filesystem::remove_all(std::filesystem::path(folder_path).parent_path().parent_path(), error);
}

const std::string& Folder::path() {
    return folder_path;
}

BOOST_TEST_GLOBAL_FIXTURE(Folder);

std::string store_path(const std::string& name) {
    return Folder::path() + "/" + name;
}
std::string configuration_path(const std::string& name) {
    return Folder::path() + "/CONFIG_" + name;
}
std::string shared_state_path() {
    return Folder::path() + "/.zelva/test";
}

void write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    BOOST_REQUIRE_MESSAGE(file.good(), "write " << path);
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool is_campaign() {
    return getenv("ZELVA_CORE_CAMPAIGN") != nullptr;
}

boost::test_tools::assertion_result is_root(boost::unit_test::test_unit_id test) {
    return needs(geteuid() == 0, "takes root", test);
}

boost::test_tools::assertion_result has_comma_locale(boost::unit_test::test_unit_id test) {
    const bool is_there = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    std::setlocale(LC_ALL, "C");
    return needs(is_there, "the locale de_DE.UTF-8 is not there", test);
}

boost::test_tools::assertion_result has_attributes(boost::unit_test::test_unit_id) {
    const std::string path = Folder::path() + "/attributes";
    std::filesystem::create_directories(Folder::path());
    write_file(path, "");
    boost::test_tools::assertion_result result =
        setxattr(path.c_str(), "user.note", "", 0, 0) == 0 &&
        (getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) >= 0 || errno == ENODATA);
    result.message() << "the file system has no extended attributes";
    std::filesystem::remove(path);
    return result;
}

std::map<std::string, EntryLine> lines_of_file() {
    const std::string prefix = "DEFAULT_";
    std::map<std::string, EntryLine> lines;
    std::istringstream file(read_file(store_path()));
    std::size_t offset = 0;
    for (std::string text; std::getline(file, text); offset += text.size() + 1) {
        const std::size_t end = text.find(" = ");
        if (end != std::string::npos && text[0] != '=') {
            lines[text.substr(0, end)] = {text, offset};
        }
    }
    for (auto line = lines.begin(); line != lines.end();) {
        const bool is_default = line->first.compare(0, prefix.size(), prefix) == 0;
        const bool has_key = !is_default || lines.count(line->first.substr(prefix.size())) != 0;
        line = has_key ? std::next(line) : lines.erase(line);
    }
    return lines;
}

std::size_t number_of_open_files() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

std::string shown(const std::string& text) {
    std::ostringstream out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            out << c;
        } else {
            out << "\\x" << std::hex << (byte >> 4U) << (byte & 15U);
        }
    }
    return out.str();
}

OpenStore::OpenStore(const std::string& text) {
    write_file(store_path(), text);
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
}

OpenStore::~OpenStore() {
    zelva_core_settings_deinit();
    std::error_code error;
    std::filesystem::remove_all(store_path(), error);
}

std::string OpenStore::file() {
    std::istringstream file(read_file(store_path()));
    std::string text;
    std::string blank;
    for (std::string line; std::getline(file, line);) {
        const bool is_withdrawn = !line.empty() && line[0] == '=';
        if (line.empty()) {
            blank += '\n';
        } else if (!is_withdrawn) {
            text += std::exchange(blank, "") + line + '\n';
        }
    }
    return text;
}

void OpenStore::restart() {
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_deinit());
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
}

Value value_of(const std::string& key) {
    const Got got = get(key);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, got.status);
    return got.value;
}

Strings names_in_folder() {
    Strings names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder::path())) {
        if (entry.path().filename() != ".zelva") {
            names.push_back(entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string abridged(const std::string& text) {
    std::string out;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find_first_not_of(text[begin], begin), text.size());
        const std::size_t count = end - begin;
        out += shown(text.substr(begin, 1));
        out += count > 4 ? "{" + std::to_string(count) + "}" : shown(text.substr(begin + 1, count - 1));
        begin = end;
    }
    return out;
}

namespace {

void print(std::ostream& out, const std::string& text) {
    out << '"' << shown(text) << '"';
}
void print(std::ostream& out, const Json& json) {
    out << "JSON " << shown(json.text);
}
void print(std::ostream& out, bool truth) {
    out << (truth ? "true" : "false");
}
void print(std::ostream& out, int number) {
    out << number;
}
void print(std::ostream& out, double number) {
    out.precision(17);
    out << number;
}
template <class Element>
void print(std::ostream& out, const std::vector<Element>& elements) {
    out << '[';
    for (const Element& element : elements) {
        print(out, element);
        out << ' ';
    }
    out << ']';
}

}  // namespace

std::ostream& zelva::value::boost_test_print_type(std::ostream& out, const Value& value) {
    out << "type " << value.index() << ' ';
    std::visit([&out](const auto& typed) { print(out, typed); }, value);
    return out;
}

std::string abridged(const State& state) {
    const auto shortened = [](const Value& value) {
        std::ostringstream out;
        boost_test_print_type(out, value);
        const std::string text = out.str();
        return text.size() > 60 ? text.substr(0, 60) + "... (" + std::to_string(text.size()) + " bytes)" : text;
    };
    std::string text;
    for (const auto& [key, entry] : state) {
        text += "  " + shown(key) + " = " + shortened(entry.value);
        text += entry.default_value ? ", default " + shortened(*entry.default_value) + '\n' : "\n";
    }
    return text;
}
