#include "store.h"

#include <stdlib.h>

#include "check.h"
#include "folder.h"

// The disk in memory keeps what is below this folder.
const std::string& Folder::path() {
    static const std::string path = "/settings";
    return path;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("ZELVA_CORE_SETTINGS_DIR", Folder::path().c_str(), 1);
    return 0;
}

namespace fuzz {

void check_holds(const State& state) {
    for (const auto& [key, entry] : state) {
        CHECK(zelva_core_settings_does_key_exist(key.c_str()));
        model::Type type{};
        CHECK(zelva_core_settings_get_type(key.c_str(), &type) == ZELVA_CORE_STATUS_NO_ERROR);
        CHECK(type == zelva::value::type_of(entry.value));
        CHECK(types()[type].get(key.c_str()) == model::get(state, type, key));
        CHECK(types()[type].get_default(key.c_str()) == model::get_default(state, type, key));
    }
    CHECK(keys() == model::keys(state));
}

void check_file(const File& file, const State& state, const std::vector<std::string>& others) {
    CHECK(state_of(file.entries) == state);
    CHECK(file.others == others);
}

}  // namespace fuzz
