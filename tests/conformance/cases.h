// The bodies of testSettings' cases, in the namespace of their suite. test_settings.cpp registers them.
#pragma once

#include <map>
#include <string>

namespace cases::testInit {
void initFail();
void initPass();
void secondInitFail();
void stringsInIniFile();
void jsonInIniFile();
void intsInIniFile();
void boolsInIniFile();
void doublesInIniFile();
void arrayOfStringsInIniFile();
void arrayOfIntsInIniFile();
void arrayOfBoolInIniFile();
void arrayOfDoubleInIniFile();
void illFormedIniFile();
void setDefaultIncomplete();
}  // namespace cases::testInit

namespace cases::testGet {
void getPass();
void getNulls();
void getWrongType();
void getInvalidKey();
void getKeysStartingWith();
}  // namespace cases::testGet

namespace cases::testSetDefault {
void getNonexisting();
void setDefault();
void setNulls();
void getWrongType();
}  // namespace cases::testSetDefault

namespace cases::testGetType {
void readTypes();
void typeNull();
void typeInvalidKey();
}  // namespace cases::testGetType

namespace cases::testSet {
void setsCanBeReadBack();
void setStringCases();
void setJsonCases();
void setWrongType();
void changeType();
void getAllKeysNoDefaults();
}  // namespace cases::testSet

namespace cases::testDelete {
void deletedValuesCannotBeRead();
void cannotDeleteNonPresentKeys();
void cannotDeleteTwice();
}  // namespace cases::testDelete

namespace cases::testGetAllKeys {
/// `_data` is what KeyListFixture wrote.
void knownList(const std::map<std::string, std::string>& _data);
void addInNewList();
void deleteNotInNewList();
}  // namespace cases::testGetAllKeys

namespace cases::testEmptyDirectory {
void savingToNonExistentDirectory();
}  // namespace cases::testEmptyDirectory

namespace cases::testConfigGet {
void getPass();
void getNulls();
void getWrongType();
void getInvalidKey();
}  // namespace cases::testConfigGet

namespace cases::testCplusplusAccessors {
void getSetString();
void getSetStringVector();
void getSetIntVector();
void getSetBool();
void getSetJson();
}  // namespace cases::testCplusplusAccessors

namespace cases::testVersion {
void invalidVersionParams();
void missingVersion();
void changingVersion();
void cannotDecrementVersion();
void emptySettingsFile();
}  // namespace cases::testVersion

namespace cases::testRename {
void invalidRenameParams();
void RenameStringParam();
void RenameJsonParam();
void RenameIntParam();
void RenameBoolParam();
void RenameDoubleParam();
void RenameArrayOfStringParam();
void RenameArrayOfIntParam();
void RenameArrayOfBoolParam();
void RenameArrayOfDoubleParam();
}  // namespace cases::testRename

namespace cases::testVectorInterop {
void GetArrayEqualsGetVector();
void SetArrayGetVector();
void SetVectorGetArray();
}  // namespace cases::testVectorInterop
