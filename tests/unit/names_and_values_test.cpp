// All short keys and values, long ones, and names of stores that lead out of the folder: each is refused, and nothing
// is changed, or reads back equal after a restart. The model tells what is to be refused, so that a refusal too many is
// found out as well as one too few.
#include <zelva/accessors.hpp>

#include <algorithm>

#include "simulated_disk.h"
#include "support.h"

using namespace std::string_literals;

BOOST_AUTO_TEST_SUITE(names_and_values)

bool is_found_in(const std::string& text, char c) {
    return text.find(c) != std::string::npos;
}
bool begins_with(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// JSON of one or two bytes (RFC 8259).
bool is_short_json(const std::string& text) {
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    const auto is_space = [](char c) { return c != '\0' && is_found_in(" \t\n\r", c); };
    if (text.size() < 2) {
        return text.size() == 1 && is_digit(text[0]);
    }
    return text == "{}" || text == "[]" || text == "\"\"" || (is_space(text[0]) && is_digit(text[1])) ||
           (is_digit(text[0]) && is_space(text[1])) ||
           ((text[0] == '-' || is_digit(text[0])) && text[0] != '0' && is_digit(text[1]));
}

/// A NUL ends what is passed as a C string.
std::string as_passed(const std::string& text) {
    return text.c_str();
}

// A sanitizer makes all of this thirty times as slow: it sees fewer texts, with every byte as the first and the second
// of two, and shorter ones.
#ifdef __SANITIZE_ADDRESS__
constexpr unsigned step = 37;
constexpr std::size_t longest = 10'000;
#else
constexpr unsigned step = 1;
constexpr std::size_t longest = 1U << 20U;
#endif

/// All texts of one and of two bytes, or every so many of those of two.
Strings short_texts() {
    Strings texts;
    for (unsigned i = 0; i < 256; ++i) {
        texts.emplace_back(1, static_cast<char>(i));
    }
    for (unsigned i = 0; i < 65536; i += step) {
        texts.push_back({static_cast<char>(i >> 8U), static_cast<char>(i & 255U)});
    }
    return texts;
}

constexpr std::size_t lengths[] = {0,   1,    254,  255,  256,   257,   511,   512,
                                   513, 4095, 4096, 4097, 65535, 65536, 65537, longest};

/// The store "test" on a disk of its own, and what it must hold.
class Store {
  public:
    Store() {
        simulated::disk = simulated::Disk();
        simulated::before_change = [this] { ++changes_; };
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        set("there", 1);
    }
    ~Store() {
        zelva_core_settings_deinit();
        simulated::before_change = nullptr;
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Sets a key that is new, or has a value of the same type; or its default; or copies a key to it.
    void set(const std::string& text, const Value& value) {
        const std::string key = as_passed(text);
        const bool is_of_default = ++count_ % 3 == 0;
        const zelva_core_status expected = (is_of_default ? model::set_default : model::set)(state_, key, value);
        const bool is_to_succeed = expected == ZELVA_CORE_STATUS_NO_ERROR;
        check(text, is_of_default ? ::set_default(key, value) : ::set(key, value), is_to_succeed);
        if (!is_to_succeed) {
            check(text, ::set(key, value), false);
            check(text, ::set_default(key, value), false);
        }
    }

    /// Whether the store did as it was to, and changed nothing if that was to refuse.
    void check(const std::string& text, zelva_core_status status, bool is_to_succeed) {
        const auto expected = is_to_succeed ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INVALID_PARAMS;
        BOOST_REQUIRE_MESSAGE(status == expected && (is_to_succeed || changes_ == 0),
                              abridged(text).substr(0, 100) << " gives " << status << ", not " << expected << ", with "
                                                            << changes_ << " changes");
        changes_ = 0;
    }

    /// Compares all, before and after a restart.
    void check_all() {
        for (int i = 0; i < 2; ++i) {
            const State state = state_of_store();
            BOOST_CHECK_EQUAL(state_.size(), state.size());
            for (const auto& [key, entry] : state_) {
                const auto found = state.find(key);
                BOOST_REQUIRE_MESSAGE(found != state.end(), abridged(key) << " is lost");
                BOOST_REQUIRE_MESSAGE(found->second == entry, "there is\n"
                                                                  << abridged(State{*found}) << "instead of\n"
                                                                  << abridged(State{{key, entry}}));
            }
            OpenStore::restart();
        }
        changes_ = 0;
    }

    const State& state() const { return state_; }

  private:
    State state_;
    unsigned count_ = 0;
    unsigned changes_ = 0;
};

/// The key of a value in a list of them.
std::string numbered(std::size_t i) {
    return 'k' + std::to_string(i);
}

BOOST_AUTO_TEST_CASE(all_keys_of_one_and_two_bytes) {
    Store store;
    int value = 0;
    for (const std::string& text : short_texts()) {
        store.set(text, ++value);
    }
    store.check_all();
    // All others are not there, for all that only reads; deleting one changes nothing.
    for (const std::string& text : short_texts()) {
        const std::string key = as_passed(text);
        if (store.state().count(key) == 0) {
            const bool is_there = zelva_core_settings_does_key_exist(key.c_str());
            BOOST_REQUIRE_MESSAGE(!is_there, shown(key));
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, types()[2].get(key.c_str()).status);
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_delete_key(key.c_str()));
            store.check(text, zelva_core_settings_copy_int_key("there", key.c_str()), false);
        }
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(keys_that_look_like_something_else) {
    Store store;
    int value = 0;
    for (const char* key : {"DEFAULT_",
                            "DEFAULT_k",
                            "DEFAULT_DEFAULT_k",
                            "DEFAULT_ k",
                            "DEFAULT",
                            "default_k",
                            "kDEFAULT_",
                            "_DEFAULT_k",
                            "DEFAULT_\xFF",
                            "DEFAULT",
                            "Version",
                            "k # c",
                            "k;",
                            "S",
                            "I1",
                            "a b",
                            "a\tb",
                            "\r",
                            "\v",
                            "\f",
                            "\xC2\xA0",
                            "\xEF\xBB\xBFk",
                            "..",
                            "/",
                            "a/b",
                            "\\",
                            "\\,",
                            ",",
                            "k=",
                            "k = I1",
                            "=",
                            " k",
                            "k ",
                            "k\n",
                            "\nk",
                            "k\nj"}) {
        store.set(key, ++value);
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(keys_of_all_lengths) {
    Store store;
    for (const std::size_t length : lengths) {
        for (const Value& value : {Value(1), Value("text"s), Value(Strings{"a", "b"})}) {
            const std::string key = std::string(length, static_cast<char>('k' + value.index()));
            store.set(key, value);
        }
        for (const char c : {'\n', '=', ' '}) {
            const std::string key = std::string(length, 'k') + c;
            store.set(key, 1);
        }
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(strings_of_all_lengths) {
    Store store;
    std::size_t i = 0;
    for (const std::size_t length : lengths) {
        for (const char c : {'x', ' ', ',', '\\', '\xFF', '"', '='}) {
            const std::string text(length, c);
            store.set(numbered(++i), text);
            store.set(numbered(++i), text + '\n');
            for (const Strings& array : {Strings{text}, Strings{text, text}, Strings{"", text, "a,b"}}) {
                store.set(numbered(++i), array);
            }
        }
        store.set(numbered(++i), Json{'"' + std::string(length, 'x') + '"'});
        store.set(numbered(++i), Strings(length));
        store.set(numbered(++i), Ints(length, -1));
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(all_strings_of_one_and_two_bytes) {
    Store store;
    std::size_t i = 0;
    for (const std::string& text : short_texts()) {
        store.set(numbered(++i), as_passed(text));
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(all_elements_of_one_and_two_bytes) {
    Store store;
    std::size_t i = 0;
    for (const std::string& text : short_texts()) {
        const std::string element = as_passed(text);
        store.set(numbered(++i), Strings{element, "", element});
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(every_byte_inside_of_strings) {
    Store store;
    for (std::size_t i = 1; i < 256; ++i) {
        const std::string text = "a"s + static_cast<char>(i) + "b";
        store.set(numbered(i), text);
        store.set(numbered(1000 + i), Strings{text, text});
    }
    store.check_all();
}

BOOST_AUTO_TEST_CASE(all_json_of_one_and_two_bytes) {
    Store store;
    std::size_t i = 0;
    for (const std::string& text : short_texts()) {
        const std::string json = as_passed(text);
        const std::string key = numbered(++i);
        store.check(text, zelva_core_settings_set_json_value(key.c_str(), json.c_str()), is_short_json(json));
    }
    const State state = state_of_store();
    OpenStore::restart();
    BOOST_CHECK(state == state_of_store());
}

BOOST_AUTO_TEST_CASE(strings_with_a_NUL_are_refused_from_cpp) {
    using namespace zelva::core;
    Store store;
    for (const std::size_t length : lengths) {
        for (const std::string& text : {std::string(length, 'x') + '\0', '\0' + std::string(length, 'x')}) {
            store.check(text, settingsSetString("k", text), false);
            store.check(text, settingsSetDefaultString("k", text), false);
            store.check(text, settingsSetJson("k", '"' + text + '"'), false);
            store.check(text, settingsSetJson("k", "1" + text), false);
            store.check(text, settingsSetStringVector("k", {"a", text}), false);
            store.check(text, settingsSetDefaultStringVector("k", {text}), false);
        }
    }
    store.check_all();
}

bool is_store_name(const std::string& name) {
    return !name.empty() && name.size() <= 200 && name[0] != '.' && !is_found_in(name, '/') &&
           !is_found_in(name, '\n') && !begins_with(name, "CONFIG_");
}

/// Opens a store of this name, and puts a key into it; or is refused, and has done nothing.
void check_store_name(const std::string& name) {
    simulated::disk = simulated::Disk();
    unsigned changes = 0;
    simulated::before_change = [&changes] { ++changes; };
    const zelva_core_status status = zelva_core_settings_init(name.c_str());
    const auto expected = is_store_name(name) ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_INVALID_PARAMS;
    BOOST_CHECK_MESSAGE(
        status == expected && (status == ZELVA_CORE_STATUS_NO_ERROR || changes == 0),
        abridged(name) << " gives " << status << ", not " << expected << ", with " << changes << " changes");
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        const bool is_set = set("k", name) == ZELVA_CORE_STATUS_NO_ERROR;
        zelva_core_settings_deinit();
        const bool is_open = zelva_core_settings_init(name.c_str()) == ZELVA_CORE_STATUS_NO_ERROR;
        const bool is_read = is_open && get("k").value == Value(name);
        BOOST_CHECK_MESSAGE(is_set && is_read && simulated::disk.names() == Strings{name}, abridged(name));
    }
    zelva_core_settings_deinit();
    simulated::before_change = nullptr;
}

BOOST_AUTO_TEST_CASE(names_of_stores) {
    Strings names{"",         ".",          "..",           "../x",  "a/b",     "/etc/x",   "/",      "a/",
                  "a/../b",   ".hidden",    ".zelva",       "...",   "CONFIG_", "CONFIG_x", "CONFIG", "config_x",
                  "xCONFIG_", "a\n",        "\n",           "a\nb",  "a b",     " ",        "a.b",    "a..",
                  "test~",    "test.new",   "DEFAULT_x",    "#x",    "a=b",     "\xFF",     "\\..",   "~",
                  "%s%n",     "..\xC0\xAF", "\xEF\xBC\x8F", "$HOME", "-rf",     "*",        "a\tb",   "\x7F"};
    for (const std::size_t length : {1U, 199U, 200U, 201U, 255U, 256U, 4096U, 1U << 20U}) {
        names.emplace_back(length, 'n');
        names.push_back(std::string(length, 'n') + "/x");
    }
    for (const std::string& text : short_texts()) {
        names.push_back(as_passed(text));
    }
    for (const std::string& name : names) {
        check_store_name(name);
    }
}

BOOST_AUTO_TEST_SUITE_END()
