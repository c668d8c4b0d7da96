// The text of a check is part of what the program prints, blanks included, so its line is not to be wrapped.
// clang-format off

// The version of the settings: what a program announces, and what it is told in return.
#include <zelva/settings.h>

#include <cstddef>

#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

namespace cases::testVersion {

// There is nothing to tell before a version was announced, and 0 is none.
void invalidVersionParams() {
    unsigned int oldVersion = 0;
    unsigned int newVersion = 0;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_versions(&oldVersion, &newVersion));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_and_set_version(NULL, 1));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_and_set_version(&oldVersion, 0));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_INVALID_PARAMS, zelva_core_settings_get_and_set_version(&oldVersion, 0));
}

// What the variables hold before a call writes them: a version that no case knows.
const unsigned int noVersion = 99;

// Announces a version, is told `had`, the version that the settings had, and is told both when it asks again.
#define CHECK_ANNOUNCING(announced, had)                                                                            \
    oldVersion = noVersion;                                                                                         \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&oldVersion, announced)); \
    BOOST_CHECK_EQUAL(had, oldVersion);                                                                             \
    oldVersion = newVersion = noVersion;                                                                            \
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_versions(&oldVersion, &newVersion));      \
    BOOST_CHECK_EQUAL(had, oldVersion);                                                                             \
    BOOST_CHECK_EQUAL(announced##u, newVersion)

// Settings from before there were versions have version 0.
void missingVersion() {
    unsigned int oldVersion = noVersion;
    unsigned int newVersion = noVersion;
    CHECK_ANNOUNCING(1, 0u);
    CHECK_ANNOUNCING(1, 1u);
}

void changingVersion() {
    unsigned int oldVersion = noVersion;
    unsigned int newVersion = noVersion;
    CHECK_ANNOUNCING(20, 19u);
    CHECK_ANNOUNCING(22, 20u);
    CHECK_ANNOUNCING(22, 22u);
}

// A lower version is told as announced, but does not become that of the settings.
void cannotDecrementVersion() {
    unsigned int oldVersion = noVersion;
    unsigned int newVersion = noVersion;
    CHECK_ANNOUNCING(1, 19u);
    CHECK_ANNOUNCING(18, 19u);
    CHECK_ANNOUNCING(20, 19u);
    CHECK_ANNOUNCING(20, 20u);
}

// New settings have nothing to migrate: they are of the announced version from the start.
void emptySettingsFile() {
    unsigned int oldVersion = noVersion;
    unsigned int newVersion = noVersion;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_and_set_version(&oldVersion, 1));
    BOOST_CHECK_EQUAL(1u, oldVersion);
    oldVersion = noVersion;
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_get_versions(&oldVersion, &newVersion));
    EXPECT_WRITTEN(newVersion, noVersion);
    BOOST_CHECK_EQUAL(1u, oldVersion);
    BOOST_CHECK_EQUAL(1u, oldVersion);
}

}  // namespace cases::testVersion
