// The rules of the version of the settings.
#include <climits>
#include <string>

#include "refused.h"
#include "support.h"

using namespace std::string_literals;

BOOST_AUTO_TEST_SUITE(rules)

BOOST_AUTO_TEST_CASE(a_version_is_1_to_INT_MAX_and_only_rises) {
    const OpenStore store("Version = I19\n");
    unsigned old_version = 99;
    unsigned new_version = 99;
    for (const unsigned refused : {0U, unsigned{INT_MAX} + 1, UINT_MAX}) {
        check_refused(ZELVA_CORE_STATUS_INVALID_PARAMS,
                      [&] { return zelva_core_settings_get_and_set_version(&old_version, refused); });
        BOOST_CHECK_EQUAL(99U, old_version);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          zelva_core_settings_get_versions(&old_version, &new_version));
    }
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, INT_MAX));
    BOOST_CHECK_EQUAL(19U, old_version);
    OpenStore::restart();
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 5));
    BOOST_CHECK_EQUAL(unsigned{INT_MAX}, old_version);
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_versions(&old_version, &new_version));
    BOOST_CHECK_EQUAL(unsigned{INT_MAX}, old_version);
    BOOST_CHECK_EQUAL(5U, new_version);
    BOOST_CHECK_EQUAL("Version = I2147483647\n", OpenStore::file());
}

BOOST_AUTO_TEST_CASE(the_old_version_tells_what_there_is_to_migrate) {
    const struct {
        const char* file;
        unsigned old_version;
    } cases[] = {
        {"", 4},
        {"# only a comment\n", 4},
        {"rejected\n", 4},
        {"k = I1\n", 0},
        {"DEFAULT_k = I1\n", 4},
        {"Version = I3\n", 3},
        {"Version = I4\n", 4},
        {"Version = I9\n", 9},
        {"Version = I0\n", 0},
        {"Version = I-7\n", 0},
    };
    for (const auto& test : cases) {
        BOOST_TEST_CONTEXT("file: " << shown(test.file)) {
            const OpenStore store(test.file);
            unsigned old_version = 99;
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 4));
            BOOST_CHECK_EQUAL(test.old_version, old_version);
            OpenStore::restart();
            BOOST_CHECK_EQUAL(Value(std::max(4, static_cast<int>(test.old_version))), value_of("Version"));
            BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("Version").status);
        }
    }
}

BOOST_AUTO_TEST_CASE(the_version_never_comes_by_a_default) {
    const OpenStore store("k = I1\nDEFAULT_Version = I9\n");
    unsigned old_version = 7;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&old_version, 3));
    BOOST_CHECK_EQUAL(0U, old_version);
    BOOST_CHECK_EQUAL("k = I1\nVersion = I3\n", OpenStore::file());
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_SETTING_NOT_PRESENT, get_default("Version").status);
}

BOOST_AUTO_TEST_CASE(a_version_key_of_another_type_is_left_alone) {
    for (const char* value : {"Sone", "J1", "BTRUE", "D1", "AS1", "AI1", "AB1", "AD1"}) {
        const OpenStore store("Version = "s + value + "\n");
        unsigned old_version = 99;
        unsigned new_version = 99;
        check_refused(ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE,
                      [&] { return zelva_core_settings_get_and_set_version(&old_version, 1); });
        BOOST_CHECK_EQUAL(99U, old_version);
        BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS,
                          zelva_core_settings_get_versions(&old_version, &new_version));
    }
}

BOOST_AUTO_TEST_SUITE_END()
