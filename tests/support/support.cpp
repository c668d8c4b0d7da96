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

// How a value of each type gets through the C interface, and is released.

template <class T>
struct Caller {
    using Get = zelva_core_status(const char*, T*);
    using Set = zelva_core_status(const char*, T);

    static Got get(Get* function, const char* key) {
        T value{};
        const zelva_core_status status = function(key, &value);
        return {status, value};
    }
    static zelva_core_status set(Set* function, const char* key, const T& value) { return function(key, value); }
};

template <class Text>
struct TextCaller {
    using Get = zelva_core_status(const char*, char**);
    using Set = zelva_core_status(const char*, const char*);

    static Got get(Get* function, const char* key) {
        char* text = nullptr;
        const zelva_core_status status = function(key, &text);
        BOOST_CHECK_EQUAL(text == nullptr, status != ZELVA_CORE_STATUS_NO_ERROR);
        Got got{status, Text{text == nullptr ? "" : text}};
        free(text);
        return got;
    }
};
template <>
struct Caller<std::string> : TextCaller<std::string> {
    static zelva_core_status set(Set* function, const char* key, const std::string& text) {
        return function(key, text.c_str());
    }
};
template <>
struct Caller<Json> : TextCaller<Json> {
    static zelva_core_status set(Set* function, const char* key, const Json& json) {
        return function(key, json.text.c_str());
    }
};

template <class Element, class Pointee, Pointee** allocate(unsigned), void release(Pointee**)>
struct ArrayCaller {
    using Get = zelva_core_status(const char*, Pointee***, int*);
    using Set = zelva_core_status(const char*, Pointee**);

    static Element element(char* text) { return Element(text); }
    template <class Scalar>
    static Element element(Scalar* scalar) {
        return *scalar;
    }

    static Got get(Get* function, const char* key) {
        Pointee** array = nullptr;
        int length = -1;
        const zelva_core_status status = function(key, &array, &length);
        BOOST_CHECK_EQUAL(array == nullptr, status != ZELVA_CORE_STATUS_NO_ERROR);
        std::vector<Element> elements;
        if (array != nullptr) {
            for (Pointee** slot = array; *slot != nullptr; ++slot) {
                elements.push_back(element(*slot));
            }
        }
        BOOST_CHECK_EQUAL(length, status == ZELVA_CORE_STATUS_NO_ERROR ? static_cast<int>(elements.size()) : -1);
        release(array);
        return {status, elements};
    }

    static void fill(char*& slot, const std::string& text) { slot = strdup(text.c_str()); }
    template <class Scalar>
    static void fill(Scalar*& slot, Scalar value) {
        *slot = value;
    }

    static zelva_core_status set(Set* function, const char* key, const std::vector<Element>& elements) {
        Pointee** array = allocate(static_cast<unsigned>(elements.size()));
        for (std::size_t i = 0; i < elements.size(); ++i) {
            fill(array[i], elements[i]);
        }
        const zelva_core_status status = function(key, array);
        release(array);
        return status;
    }
};
template <>
struct Caller<Strings> : ArrayCaller<std::string, char, zelva_core_alloc_string_array, zelva_core_free_string_array> {};
template <>
struct Caller<Ints> : ArrayCaller<int, int, zelva_core_alloc_int_array, zelva_core_free_int_array> {};
template <>
struct Caller<Bools> : ArrayCaller<bool, bool, zelva_core_alloc_bool_array, zelva_core_free_bool_array> {};
template <>
struct Caller<Doubles> : ArrayCaller<double, double, zelva_core_alloc_double_array, zelva_core_free_double_array> {};

template <class T>
TypeFunctions functions(const char* name, zelva_core_settings_type type, T first, T second,
                        typename Caller<T>::Get* get, typename Caller<T>::Get* get_default,
                        typename Caller<T>::Get* get_configuration, typename Caller<T>::Set* set,
                        typename Caller<T>::Set* set_default, zelva_core_status copy(const char*, const char*)) {
    using namespace std::placeholders;
    const auto setter = [](typename Caller<T>::Set* function) {
        return [function](const char* key, const Value& value) {
            return Caller<T>::set(function, key, std::get<T>(value));
        };
    };
    return {name,
            type,
            std::move(first),
            std::move(second),
            std::bind(&Caller<T>::get, get, _1),
            std::bind(&Caller<T>::get, get_default, _1),
            std::bind(&Caller<T>::get, get_configuration, _1),
            setter(set),
            setter(set_default),
            copy};
}

const TypeFunctions& functions_of(const std::string& key) {
    zelva_core_settings_type type{};
    if (zelva_core_settings_get_type(key.c_str(), &type) != ZELVA_CORE_STATUS_NO_ERROR) {
        throw std::runtime_error("no key " + shown(key));
    }
    return types()[type];
}

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

#define TYPE(NUMBER, name, first, second)                                                                     \
    functions(#name, ZELVA_CORE_SETTING_TYPE_##NUMBER, first, second, zelva_core_settings_get_##name##_value, \
              zelva_core_settings_get_default_##name##_value, zelva_core_configuration_get_##name##_value,    \
              zelva_core_settings_set_##name##_value, zelva_core_settings_set_default_##name##_value,         \
              zelva_core_settings_copy_##name##_key)

const std::vector<TypeFunctions>& types() {
    static const std::vector<TypeFunctions> all{
        TYPE(STRING, string, std::string("one"), std::string("two")),
        TYPE(JSON, json, Json{"{ \"a\" : 1 }"}, Json{"[ true ]"}),
        TYPE(INT, int, 7, -8),
        TYPE(BOOL, bool, true, false),
        TYPE(DOUBLE, double, 0.1, -2.5e300),
        TYPE(ARRAYOFSTRING, arrayofstring, (Strings{"a", "b,c", ""}), Strings{""}),
        TYPE(ARRAYOFINT, arrayofint, (Ints{1, -2}), Ints{}),
        TYPE(ARRAYOFBOOL, arrayofbool, (Bools{true, false}), Bools{false}),
        TYPE(ARRAYOFDOUBLE, arrayofdouble, (Doubles{0.5, 1e-7}), Doubles{3.023}),
    };
    return all;
}

Got get(const std::string& key) {
    return functions_of(key).get(key.c_str());
}
Got get_default(const std::string& key) {
    return functions_of(key).get_default(key.c_str());
}
zelva_core_status set(const std::string& key, const Value& value) {
    return types()[value.index()].set(key.c_str(), value);
}
zelva_core_status set_default(const std::string& key, const Value& value) {
    return types()[value.index()].set_default(key.c_str(), value);
}

Strings keys(const std::string& prefix) {
    char** list = zelva_core_settings_get_keys_starting_with(prefix.c_str());
    BOOST_REQUIRE(list != nullptr);
    Strings names;
    for (char** name = list; *name != nullptr; ++name) {
        names.emplace_back(*name);
    }
    zelva_core_free_string_array(list);
    return names;
}

Value value_of(const std::string& key) {
    const Got got = get(key);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, got.status);
    return got.value;
}

bool operator==(const Entry& left, const Entry& right) {
    return left.value == right.value && left.default_value == right.default_value;
}

State state_of_store() {
    State state;
    for (const std::string& key : keys()) {
        const Got value_default = get_default(key);
        state[key] = {value_of(key), std::nullopt};
        if (value_default.status == ZELVA_CORE_STATUS_NO_ERROR) {
            state[key].default_value = value_default.value;
        }
    }
    return state;
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
