// Any bytes as a store's file: it is read as the format says, changes are made to it, and what they do not concern
// stays, through closing and opening too.
#include "check.h"
#include "simulated_disk.h"
#include "store.h"

namespace {

void check_all(const State& expected, const std::vector<std::string>& others) {
    fuzz::check_holds(expected);
    fuzz::check_file(fuzz::read_file(simulated::disk.text()), expected, others);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    simulated::disk = simulated::Disk(text);
    const fuzz::File file = fuzz::read_file(text);
    State state = fuzz::state_of(file.entries);

    CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR);
    CHECK(simulated::disk.text() == text);
    fuzz::check_holds(state);

    CHECK(set("key", 7) == model::set(state, "key", 7));
    check_all(state, file.others);

    const Strings present = keys();
    CHECK(!present.empty());
    // Any of them, but the same one for the same file.
    const std::string deleted = present[size % present.size()];
    CHECK(zelva_core_settings_delete_key(deleted.c_str()) == model::remove(state, deleted));
    check_all(state, file.others);
    // It would mean nothing, but a person reads the file too.
    CHECK(fuzz::read_file(simulated::disk.text()).entries.count(fuzz::default_prefix + deleted) == 0);

    CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
    CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR);
    check_all(state, file.others);
    CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
    simulated::disk = simulated::Disk();  // what is left must not look like a leak
    return 0;
}
