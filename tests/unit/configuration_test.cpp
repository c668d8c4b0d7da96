// The configuration store.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support.h"

namespace {

class OpenConfiguration {
  public:
    explicit OpenConfiguration(const std::string& text) {
        write_file(configuration_path(), text);
        BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_configuration_init("test"));
    }
    OpenConfiguration(const OpenConfiguration&) = delete;
    OpenConfiguration& operator=(const OpenConfiguration&) = delete;
    ~OpenConfiguration() {
        zelva_core_configuration_deinit();
        std::error_code error;
        std::filesystem::remove(configuration_path(), error);
    }
};

constexpr const char* all_types =
    "string = Sone\njson = J{\"a\":1}\nint = I7\nbool = BTRUE\ndouble = D0.1\narrayofstring = ASa,b\\,c,\n"
    "arrayofint = AI1,-2\narrayofbool = AB1,0\narrayofdouble = AD.5,1e-7\n";

}  // namespace

BOOST_AUTO_TEST_SUITE(configuration)

BOOST_AUTO_TEST_CASE(each_type_is_read_by_its_own_get_alone) {
    const OpenConfiguration store(all_types);
    for (const TypeFunctions& type : types()) {
        for (const TypeFunctions& key : types()) {
            BOOST_TEST_CONTEXT(type.name << " of a key of " << key.name) {
                const Got got = type.get_configuration(key.name.c_str());
                if (type.type == key.type) {
                    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, got.status);
                    BOOST_CHECK_EQUAL(type.first, got.value);
                } else {
                    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE, got.status);
                }
            }
        }
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, type.get_configuration("fred").status);
        BOOST_CHECK(zelva_core_configuration_does_key_exist(type.name.c_str()));
    }
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("fred"));
    BOOST_CHECK(!zelva_core_configuration_does_key_exist(nullptr));
}

BOOST_AUTO_TEST_CASE(names_that_begin_with_DEFAULT_are_refused_here_too) {
    const OpenConfiguration store("DEFAULT_k = I1\n");
    for (const TypeFunctions& type : types()) {
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, type.get_configuration("DEFAULT_k").status);
    }
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("DEFAULT_k"));
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("k"));
}

BOOST_AUTO_TEST_CASE(a_store_without_a_file_does_not_open) {
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_configuration_init("none"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NOT_INITIALIZED, zelva_core_configuration_deinit());
}

BOOST_AUTO_TEST_CASE(a_store_that_is_opened_makes_nothing_in_its_folder) {
    const std::filesystem::path shared = std::filesystem::path(configuration_path()).parent_path() / ".zelva";
    std::filesystem::remove_all(shared);
    const OpenConfiguration store("k = I1\n");
    BOOST_CHECK(zelva_core_configuration_does_key_exist("k"));
    BOOST_CHECK(!std::filesystem::exists(shared));
}

BOOST_AUTO_TEST_CASE(a_second_init_leaves_the_open_store_as_it_is) {
    const OpenConfiguration store("k = I1\n");
    write_file(configuration_path("other"), "k = I2\n");
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_configuration_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_ALLOC_FAILED, zelva_core_configuration_init("other"));
    BOOST_CHECK_EQUAL(Value(1), types()[ZELVA_CORE_SETTING_TYPE_INT].get_configuration("k").value);
    std::filesystem::remove(configuration_path("other"));
}

BOOST_AUTO_TEST_CASE(both_stores_of_one_name_are_open_side_by_side) {
    const OpenConfiguration configuration("k = I1\n");
    const OpenStore settings("k = I2\n");
    BOOST_CHECK_EQUAL(Value(2), value_of("k"));
    BOOST_CHECK_EQUAL(Value(1), types()[ZELVA_CORE_SETTING_TYPE_INT].get_configuration("k").value);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k", 3));
    BOOST_CHECK_EQUAL("k = I1\n", read_file(configuration_path()));
}

BOOST_AUTO_TEST_CASE(a_file_of_nothing_but_comments_is_an_empty_store) {
    const OpenConfiguration store("# nothing\n");
    BOOST_CHECK(!zelva_core_configuration_does_key_exist("k"));
}

BOOST_AUTO_TEST_CASE(a_forked_child_reads_the_store_that_its_parent_has_open) {
    const OpenConfiguration store("k = I7\n");
    const pid_t child = fork();
    if (child == 0) {
        int number = 0;
        _exit(zelva_core_configuration_get_int_value("k", &number) == ZELVA_CORE_STATUS_NO_ERROR ? number : 0);
    }
    int status = -1;
    BOOST_REQUIRE_EQUAL(child, waitpid(child, &status, 0));
    BOOST_CHECK(WIFEXITED(status));
    BOOST_CHECK_EQUAL(7, WEXITSTATUS(status));
}

BOOST_AUTO_TEST_SUITE_END()
