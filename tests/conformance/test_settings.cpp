// testSettings, the conformance program of the stores: its suites and cases, in the order in which they run. All are
// registered here, so that the order does not depend on the linker's.
#include "boost_test.h"
#include "cases.h"
#include "fixtures.h"

// clang-format off

BOOST_AUTO_TEST_SUITE(testInit)
BOOST_AUTO_TEST_CASE(initFail)                { cases::testInit::initFail(); }
BOOST_AUTO_TEST_CASE(initPass)                { cases::testInit::initPass(); }
BOOST_AUTO_TEST_CASE(secondInitFail)          { cases::testInit::secondInitFail(); }
BOOST_AUTO_TEST_CASE(stringsInIniFile)        { cases::testInit::stringsInIniFile(); }
BOOST_AUTO_TEST_CASE(jsonInIniFile)           { cases::testInit::jsonInIniFile(); }
BOOST_AUTO_TEST_CASE(intsInIniFile)           { cases::testInit::intsInIniFile(); }
BOOST_AUTO_TEST_CASE(boolsInIniFile)          { cases::testInit::boolsInIniFile(); }
BOOST_AUTO_TEST_CASE(doublesInIniFile)        { cases::testInit::doublesInIniFile(); }
BOOST_AUTO_TEST_CASE(arrayOfStringsInIniFile) { cases::testInit::arrayOfStringsInIniFile(); }
BOOST_AUTO_TEST_CASE(arrayOfIntsInIniFile)    { cases::testInit::arrayOfIntsInIniFile(); }
BOOST_AUTO_TEST_CASE(arrayOfBoolInIniFile)    { cases::testInit::arrayOfBoolInIniFile(); }
BOOST_AUTO_TEST_CASE(arrayOfDoubleInIniFile)  { cases::testInit::arrayOfDoubleInIniFile(); }
BOOST_AUTO_TEST_CASE(illFormedIniFile)        { cases::testInit::illFormedIniFile(); }
BOOST_AUTO_TEST_CASE(setDefaultIncomplete)    { cases::testInit::setDefaultIncomplete(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testGet)
BOOST_FIXTURE_TEST_CASE(getPass,             StandardSettingsFixture) { cases::testGet::getPass(); }
BOOST_FIXTURE_TEST_CASE(getNulls,            StandardSettingsFixture) { cases::testGet::getNulls(); }
BOOST_FIXTURE_TEST_CASE(getWrongType,        StandardSettingsFixture) { cases::testGet::getWrongType(); }
BOOST_FIXTURE_TEST_CASE(getInvalidKey,       StandardSettingsFixture) { cases::testGet::getInvalidKey(); }
BOOST_FIXTURE_TEST_CASE(getKeysStartingWith, StandardSettingsFixture) { cases::testGet::getKeysStartingWith(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testSetDefault)
BOOST_FIXTURE_TEST_CASE(getNonexisting, EmptySettingsFixture) { cases::testSetDefault::getNonexisting(); }
BOOST_FIXTURE_TEST_CASE(setDefault,     EmptySettingsFixture) { cases::testSetDefault::setDefault(); }
BOOST_FIXTURE_TEST_CASE(setNulls,       EmptySettingsFixture) { cases::testSetDefault::setNulls(); }
BOOST_FIXTURE_TEST_CASE(getWrongType,   EmptySettingsFixture) { cases::testSetDefault::getWrongType(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testGetType)
BOOST_FIXTURE_TEST_CASE(readTypes,      StandardSettingsFixture) { cases::testGetType::readTypes(); }
BOOST_FIXTURE_TEST_CASE(typeNull,       StandardSettingsFixture) { cases::testGetType::typeNull(); }
BOOST_FIXTURE_TEST_CASE(typeInvalidKey, StandardSettingsFixture) { cases::testGetType::typeInvalidKey(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testSet)
BOOST_FIXTURE_TEST_CASE(setsCanBeReadBack,    EmptySettingsFixture)    { cases::testSet::setsCanBeReadBack(); }
BOOST_FIXTURE_TEST_CASE(setStringCases,       EmptySettingsFixture)    { cases::testSet::setStringCases(); }
BOOST_FIXTURE_TEST_CASE(setJsonCases,         EmptySettingsFixture)    { cases::testSet::setJsonCases(); }
BOOST_FIXTURE_TEST_CASE(setWrongType,         StandardSettingsFixture) { cases::testSet::setWrongType(); }
BOOST_FIXTURE_TEST_CASE(changeType,           StandardSettingsFixture) { cases::testSet::changeType(); }
BOOST_FIXTURE_TEST_CASE(getAllKeysNoDefaults, StandardSettingsFixture) { cases::testSet::getAllKeysNoDefaults(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testDelete)
BOOST_FIXTURE_TEST_CASE(deletedValuesCannotBeRead,  StandardSettingsFixture) { cases::testDelete::deletedValuesCannotBeRead(); }
BOOST_FIXTURE_TEST_CASE(cannotDeleteNonPresentKeys, StandardSettingsFixture) { cases::testDelete::cannotDeleteNonPresentKeys(); }
BOOST_FIXTURE_TEST_CASE(cannotDeleteTwice,          StandardSettingsFixture) { cases::testDelete::cannotDeleteTwice(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testGetAllKeys)
BOOST_FIXTURE_TEST_CASE(knownList,          KeyListFixture) { cases::testGetAllKeys::knownList(_data); }
BOOST_FIXTURE_TEST_CASE(addInNewList,       KeyListFixture) { cases::testGetAllKeys::addInNewList(); }
BOOST_FIXTURE_TEST_CASE(deleteNotInNewList, KeyListFixture) { cases::testGetAllKeys::deleteNotInNewList(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testEmptyDirectory)
BOOST_AUTO_TEST_CASE(savingToNonExistentDirectory) { cases::testEmptyDirectory::savingToNonExistentDirectory(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testConfigGet)
BOOST_FIXTURE_TEST_CASE(getPass,       ConfigurationFixture) { cases::testConfigGet::getPass(); }
BOOST_FIXTURE_TEST_CASE(getNulls,      ConfigurationFixture) { cases::testConfigGet::getNulls(); }
BOOST_FIXTURE_TEST_CASE(getWrongType,  ConfigurationFixture) { cases::testConfigGet::getWrongType(); }
BOOST_FIXTURE_TEST_CASE(getInvalidKey, ConfigurationFixture) { cases::testConfigGet::getInvalidKey(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testCplusplusAccessors)
BOOST_FIXTURE_TEST_CASE(getSetString,       StandardSettingsFixture) { cases::testCplusplusAccessors::getSetString(); }
BOOST_FIXTURE_TEST_CASE(getSetStringVector, StandardSettingsFixture) { cases::testCplusplusAccessors::getSetStringVector(); }
BOOST_FIXTURE_TEST_CASE(getSetIntVector,    StandardSettingsFixture) { cases::testCplusplusAccessors::getSetIntVector(); }
BOOST_FIXTURE_TEST_CASE(getSetBool,         StandardSettingsFixture) { cases::testCplusplusAccessors::getSetBool(); }
BOOST_FIXTURE_TEST_CASE(getSetJson,         StandardSettingsFixture) { cases::testCplusplusAccessors::getSetJson(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testVersion)
BOOST_FIXTURE_TEST_CASE(invalidVersionParams,   EmptySettingsFixture)     { cases::testVersion::invalidVersionParams(); }
BOOST_FIXTURE_TEST_CASE(missingVersion,         StandardSettingsFixture)  { cases::testVersion::missingVersion(); }
BOOST_FIXTURE_TEST_CASE(changingVersion,        VersionedSettingsFixture) { cases::testVersion::changingVersion(); }
BOOST_FIXTURE_TEST_CASE(cannotDecrementVersion, VersionedSettingsFixture) { cases::testVersion::cannotDecrementVersion(); }
BOOST_FIXTURE_TEST_CASE(emptySettingsFile,      EmptySettingsFixture)     { cases::testVersion::emptySettingsFile(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testRename)
BOOST_FIXTURE_TEST_CASE(invalidRenameParams,      StandardSettingsFixture) { cases::testRename::invalidRenameParams(); }
BOOST_FIXTURE_TEST_CASE(RenameStringParam,        StandardSettingsFixture) { cases::testRename::RenameStringParam(); }
BOOST_FIXTURE_TEST_CASE(RenameJsonParam,          StandardSettingsFixture) { cases::testRename::RenameJsonParam(); }
BOOST_FIXTURE_TEST_CASE(RenameIntParam,           StandardSettingsFixture) { cases::testRename::RenameIntParam(); }
BOOST_FIXTURE_TEST_CASE(RenameBoolParam,          StandardSettingsFixture) { cases::testRename::RenameBoolParam(); }
BOOST_FIXTURE_TEST_CASE(RenameDoubleParam,        StandardSettingsFixture) { cases::testRename::RenameDoubleParam(); }
BOOST_FIXTURE_TEST_CASE(RenameArrayOfStringParam, StandardSettingsFixture) { cases::testRename::RenameArrayOfStringParam(); }
BOOST_FIXTURE_TEST_CASE(RenameArrayOfIntParam,    StandardSettingsFixture) { cases::testRename::RenameArrayOfIntParam(); }
BOOST_FIXTURE_TEST_CASE(RenameArrayOfBoolParam,   StandardSettingsFixture) { cases::testRename::RenameArrayOfBoolParam(); }
BOOST_FIXTURE_TEST_CASE(RenameArrayOfDoubleParam, StandardSettingsFixture) { cases::testRename::RenameArrayOfDoubleParam(); }
BOOST_AUTO_TEST_SUITE_END()

BOOST_AUTO_TEST_SUITE(testVectorInterop)
BOOST_FIXTURE_TEST_CASE(GetArrayEqualsGetVector, StandardSettingsFixture) { cases::testVectorInterop::GetArrayEqualsGetVector(); }
BOOST_FIXTURE_TEST_CASE(SetArrayGetVector,       StandardSettingsFixture) { cases::testVectorInterop::SetArrayGetVector(); }
BOOST_FIXTURE_TEST_CASE(SetVectorGetArray,       StandardSettingsFixture) { cases::testVectorInterop::SetVectorGetArray(); }
BOOST_AUTO_TEST_SUITE_END()

// clang-format on

bool init_unit_test() {
    boost::unit_test::framework::master_test_suite().p_name.value = "testSettings";
    return true;
}

int main(int argc, char* argv[]) {
    return boost::unit_test::unit_test_main(init_unit_test, argc, argv);
}
