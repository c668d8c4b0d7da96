// The rules of keys, types, defaults and copies.
#include <algorithm>
#include <random>
#include <string>

#include "refused.h"
#include "support.h"

using namespace std::string_literals;

namespace {

/// A file with one key of each type, named as the type, with a default of the type's other value.
std::string file_of_all_types() {
    {
        const OpenStore store;
        for (const TypeFunctions& type : types()) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default(type.name, type.second));
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(type.name, type.first));
        }
        return OpenStore::file();
    }
}

}  // namespace

BOOST_AUTO_TEST_SUITE(rules)

BOOST_AUTO_TEST_CASE(each_type_reads_back_at_once_and_after_a_restart) {
    const OpenStore store;
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const char* key = type.name.c_str();
            for (const Value& value : {type.first, type.second}) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.set(key, value));
                BOOST_CHECK_EQUAL(value, type.get(key).value);
                BOOST_CHECK_EQUAL(type.first, type.get_default(key).value);
                OpenStore::restart();
                BOOST_CHECK_EQUAL(value, type.get(key).value);
                BOOST_CHECK_EQUAL(type.first, type.get_default(key).value);
            }
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.set_default(key, type.second));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(type.second, type.get_default(key).value);
            zelva_core_settings_type told{};
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_type(key, &told));
            BOOST_CHECK_EQUAL(type.type, told);
        }
    }
    BOOST_CHECK_EQUAL(types().size(), keys().size());
}

BOOST_AUTO_TEST_CASE(the_first_write_of_a_key_gives_it_value_and_default) {
    for (const TypeFunctions& type : types()) {
        for (const auto& first_write : {type.set, type.set_default}) {
            BOOST_TEST_CONTEXT(type.name) {
                const OpenStore store;
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, first_write("k", type.first));
                BOOST_CHECK_EQUAL(type.first, type.get("k").value);
                BOOST_CHECK_EQUAL(type.first, type.get_default("k").value);
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(no_operation_takes_another_type_s_key) {
    const OpenStore store(file_of_all_types());
    for (const TypeFunctions& type : types()) {
        for (const TypeFunctions& other : types()) {
            if (type.type == other.type) {
                continue;
            }
            BOOST_TEST_CONTEXT(type.name << " on a key of " << other.name) {
                const char* key = other.name.c_str();
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                              [&] { return type.set_default(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, [&] { return type.copy(key, "new"); });
                check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                              [&] { return type.copy(type.name.c_str(), key); });
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(an_absent_key_is_not_present_for_any_operation_that_reads) {
    const OpenStore store("other = I1\n");
    for (const char* key : {"fred", "", " ", "a=b", "other ", "othe", "#", "\n"}) {
        BOOST_TEST_CONTEXT("key: " << shown(key)) {
            for (const TypeFunctions& type : types()) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [&] { return type.copy(key, "new"); });
            }
            zelva_core_settings_type told = ZELVA_CORE_SETTING_TYPE_DOUBLE;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, zelva_core_settings_get_type(key, &told));
            BOOST_CHECK_EQUAL(ZELVA_CORE_SETTING_TYPE_DOUBLE, told);
            check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [&] { return zelva_core_settings_delete_key(key); });
            BOOST_CHECK(!zelva_core_settings_does_key_exist(key));
        }
    }
}

BOOST_AUTO_TEST_CASE(a_name_that_begins_with_DEFAULT_is_refused_by_every_operation) {
    const OpenStore store(file_of_all_types());
    for (const TypeFunctions& type : types()) {
        for (const std::string& name : {"DEFAULT_" + type.name, "DEFAULT_"s, "DEFAULT_none"s}) {
            BOOST_TEST_CONTEXT(name) {
                const char* key = name.c_str();
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get(key).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_default(key).status);
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set_default(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.copy(key, "new"); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.copy(type.name.c_str(), key); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return zelva_core_settings_delete_key(key); });
                zelva_core_settings_type told{};
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(key, &told));
                BOOST_CHECK(!zelva_core_settings_does_key_exist(key));
                BOOST_CHECK(keys(name).empty());
            }
        }
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("DEFAULT", 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("default_k", 2));
    BOOST_CHECK(keys("DEFAULT") == Strings{"DEFAULT"});
    BOOST_CHECK(keys("D") == Strings{"DEFAULT"});
    BOOST_CHECK(keys("d") == (Strings{"default_k", "double"}));
}

BOOST_AUTO_TEST_CASE(NULL_is_refused_before_anything_else) {
    zelva_core_settings_deinit();
    for (const bool is_open : {false, true}) {
        if (is_open) {
            write_file(store_path(), file_of_all_types());
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
        }
        for (const TypeFunctions& type : types()) {
            BOOST_TEST_CONTEXT(type.name) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_default(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_configuration(nullptr).status);
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set(nullptr, type.first));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set_default(nullptr, type.first));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy(nullptr, "new"));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy(type.name.c_str(), nullptr));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.copy("absent", nullptr));
            }
        }
        for (const char* key : {"string", "absent", "DEFAULT_string"}) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_string_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_json_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofstring_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_set_arrayofint_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofbool_value(key, nullptr));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_set_arrayofdouble_value(key, nullptr));
            int length = -1;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                              zelva_core_settings_get_arrayofint_value(key, nullptr, &length));
            BOOST_CHECK_EQUAL(-1, length);
        }
        zelva_core_settings_type told{};
        unsigned version = 0;
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_type(nullptr, &told));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_delete_key(nullptr));
        BOOST_CHECK(!zelva_core_settings_does_key_exist(nullptr));
        BOOST_CHECK(zelva_core_settings_get_keys_starting_with(nullptr) == nullptr);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_and_set_version(nullptr, 1));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(nullptr, &version));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&version, nullptr));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init(nullptr));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init(nullptr));
        BOOST_CHECK_EQUAL(0U, version);
    }
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(the_length_of_an_array_need_not_be_asked_for) {
    const OpenStore store("k = AI1,2\n");
    int** array = nullptr;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_arrayofint_value("k", &array, nullptr));
    BOOST_CHECK(array[2] == nullptr);
    zelva_core_free_int_array(array);
}

BOOST_AUTO_TEST_CASE(a_store_that_is_not_open_refuses_every_operation) {
    zelva_core_settings_deinit();
    zelva_core_configuration_deinit();
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get_default("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.get_configuration("k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.set("k", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.set_default("k", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, type.copy("k", "l"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get("DEFAULT_k").status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.set("DEFAULT_k", type.first));
        }
    }
    zelva_core_settings_type told{};
    unsigned old_version = 7;
    unsigned new_version = 7;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_type("k", &told));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_and_set_version(&old_version, 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_sync());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_reload());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED,
                      zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
    BOOST_CHECK_EQUAL(7U, old_version);
    BOOST_CHECK_EQUAL(7U, new_version);
    BOOST_CHECK(!zelva_core_settings_does_key_exist("k"));
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("k"));
    BOOST_CHECK(zelva_core_settings_get_all_keys() == nullptr);
    BOOST_CHECK(zelva_core_settings_get_keys_starting_with("k") == nullptr);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_configuration_deinit());
    BOOST_CHECK(read_file(store_path()).empty());
}

BOOST_AUTO_TEST_CASE(a_second_init_leaves_the_open_store_as_it_is) {
    const OpenStore store("k = I1\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_settings_init("other"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_init("CONFIG_test"));
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(stopping_the_library_closes_both_stores) {
    write_file(configuration_path(), "k = I2\n");
    {
        const OpenStore store("k = I1\n");
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_init());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_settings_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_configuration_deinit());
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_deinit());
    }
}

BOOST_AUTO_TEST_CASE(keys_that_a_line_can_hold_are_accepted) {
    const OpenStore store;
    const Strings accepted{"k",        "K",       "a b",       "a\tb",     "a#b",      "a;",
                           "\"",       "'k'",     "\\",        "k\r",      "\x01",     "\xFF",
                           "\xC3\xA9", "DEFAULT", "default_k", "Version2", "CONFIG_k", std::string(65537, 'k')};
    for (const std::string& key : accepted) {
        BOOST_TEST_CONTEXT("key: " << shown(key.substr(0, 40))) {
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, 5));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(5), value_of(key));
            BOOST_CHECK_EQUAL(Value(5), get_default(key).value);
        }
    }
    Strings listed = keys();
    Strings sorted = accepted;
    std::sort(sorted.begin(), sorted.end());
    std::sort(listed.begin(), listed.end());
    BOOST_CHECK(listed == sorted);
    for (const std::string& key : accepted) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(key.c_str()));
    }
    BOOST_CHECK_EQUAL("", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(keys_that_would_not_read_back_are_refused) {
    const OpenStore store("# here\nother = I1\n");
    for (const char* key : {"",   " ",  "\t",   " k",  "k ", "\tk", "k\t", "=",  "a=b",      "k=",
                            "=k", "\n", "a\nb", "k\n", "#",  "#k",  ";",   ";k", "# k = I1", "k = I1\nl"}) {
        BOOST_TEST_CONTEXT("key: " << shown(key)) {
            for (const TypeFunctions& type : types()) {
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set(key, type.first); });
                check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS, [&] { return type.set_default(key, type.first); });
            }
            check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          [&] { return zelva_core_settings_copy_int_key("other", key); });
        }
    }
}

BOOST_AUTO_TEST_CASE(a_key_without_a_default_has_no_default_to_get) {
    const OpenStore store("k = Sten\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", "eleven"s));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("k").status);
    BOOST_CHECK_EQUAL("k = Seleven\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(a_default_without_its_key_is_out_of_sight_until_the_key_is_written) {
    const OpenStore store("DEFAULT_k = Sold\n");
    BOOST_CHECK(keys().empty());
    BOOST_CHECK(!zelva_core_settings_does_key_exist("k"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, types()[0].get("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, types()[0].get_default("k").status);
    check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, [] { return zelva_core_settings_delete_key("k"); });
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL("DEFAULT_k = I3\nk = I3\n", OpenStore::file());
    BOOST_CHECK_EQUAL(Value(3), get_default("k").value);
}

BOOST_AUTO_TEST_CASE(a_default_of_another_type_than_its_key_is_not_handed_out) {
    const OpenStore store("k = I1\nDEFAULT_k = Sone\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      types()[ZELVA_CORE_SETTING_TYPE_INT].get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      types()[ZELVA_CORE_SETTING_TYPE_STRING].get_default("k").status);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("k", 2));
    BOOST_CHECK_EQUAL(Value(2), get_default("k").value);
    BOOST_CHECK_EQUAL(Value(1), value_of("k"));
}

BOOST_AUTO_TEST_CASE(deleting_a_key_deletes_its_default_and_frees_its_name) {
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const OpenStore store(file_of_all_types());
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(type.name.c_str()));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get(type.name.c_str()).status);
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get_default(type.name.c_str()).status);
            check_refused(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT,
                          [&] { return zelva_core_settings_delete_key(type.name.c_str()); });
            OpenStore::restart();
            BOOST_CHECK_EQUAL(types().size() - 1, keys().size());
            for (const TypeFunctions& other : types()) {
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, other.set(type.name.c_str(), other.second));
                BOOST_CHECK_EQUAL(other.second, value_of(type.name));
                BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key(type.name.c_str()));
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(deleting_a_key_deletes_all_its_lines) {
    const OpenStore store("k = I1\nother = I1\nDEFAULT_k = Sold\nk = Stwo\nDEFAULT_k = I1\nk = I3\nkk = I4\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("k"));
    BOOST_CHECK_EQUAL("other = I1\nkk = I4\n", OpenStore::file());
    OpenStore::restart();
    BOOST_CHECK(keys() == (Strings{"kk", "other"}));
}

BOOST_AUTO_TEST_CASE(lists_hold_each_key_once_and_a_list_is_not_changed_afterwards) {
    const OpenStore store("b = I1\na = I1\nDEFAULT_a = I1\nab = Sx\nb = I2\nzz = B1\n");
    BOOST_CHECK(keys() == (Strings{"a", "ab", "b", "zz"}));
    BOOST_CHECK(keys("a") == (Strings{"a", "ab"}));
    BOOST_CHECK(keys("ab") == Strings{"ab"});
    BOOST_CHECK(keys("abc").empty());
    BOOST_CHECK(keys("\xFF").empty());
    char** list = zelva_core_settings_get_all_keys();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_delete_key("a"));
    BOOST_CHECK_EQUAL("a", list[0]);
    zelva_core_free_string_array(list);
}

BOOST_AUTO_TEST_CASE(a_copy_is_a_set_of_the_new_key_with_the_old_one_s_value) {
    for (const TypeFunctions& type : types()) {
        BOOST_TEST_CONTEXT(type.name) {
            const OpenStore store;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set_default("old", type.second));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("old", type.first));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "new"));
            BOOST_CHECK_EQUAL(type.first, value_of("new"));
            BOOST_CHECK_EQUAL(type.first, get_default("new").value);

            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("old", type.second));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "new"));
            BOOST_CHECK_EQUAL(type.second, value_of("new"));
            BOOST_CHECK_EQUAL(type.first, get_default("new").value);

            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, type.copy("old", "old"));
            OpenStore::restart();
            BOOST_CHECK_EQUAL(type.second, value_of("old"));
            BOOST_CHECK_EQUAL(type.second, value_of("new"));
            BOOST_CHECK(keys() == (Strings{"new", "old"}));
        }
    }
}

// Enough keys for any order of theirs in the table that holds them, and lists all along, which keep them sorted.
BOOST_AUTO_TEST_CASE(keys_come_and_go_as_in_a_map) {
    const OpenStore store;
    zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED);
    std::mt19937 random(3);
    State expected;
    for (int i = 0; i < 30'000; ++i) {
        const std::string key = "key" + std::to_string(random() % 400);
        // By turns there are ever more keys, and ever fewer.
        const bool is_set = random() % 10 < (i / 3000 % 2 == 0 ? 7U : 3U);
        if (is_set) {
            BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set(key, i));
            model::set(expected, key, i);
        } else {
            BOOST_REQUIRE_EQUAL(model::remove(expected, key), zelva_core_settings_delete_key(key.c_str()));
        }
        if (i % 100 == 50 && i > 1000) {
            BOOST_REQUIRE(state_of_store() == expected);
            const std::string prefix = key.substr(0, 4);
            BOOST_REQUIRE(keys(prefix) == model::keys(expected, prefix));
        }
    }
    OpenStore::restart();
    BOOST_CHECK(state_of_store() == expected);
}

BOOST_AUTO_TEST_SUITE_END()
