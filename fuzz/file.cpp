// Any bytes as a store's file: it is read as the format says, changes are made to it, and what they do not concern
// stays, through closing and opening too.
#include "check.h"
#include "simulated_disk.h"
#include "store.h"

namespace {

void check_all(const fuzz::Entries& expected, const std::vector<std::string>& others) {
    fuzz::check_holds(expected);
    const fuzz::File file = fuzz::read_file(simulated::disk.text());
    CHECK(fuzz::is_same(fuzz::meaning(file.entries), fuzz::meaning(expected)));
    CHECK(file.others == others);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    simulated::disk = simulated::Disk(text);
    const fuzz::File file = fuzz::read_file(text);
    fuzz::Entries entries = file.entries;

    CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR);
    CHECK(simulated::disk.text() == text);
    fuzz::check_holds(entries);

    const std::string key = "key";
    const fuzz::Value value = 7;
    const auto present = entries.find(key);
    const zelva_core_status status = fuzz::set(fuzz::Slot::value, key, value);
    if (present != entries.end() && present->second.index() != value.index()) {
        CHECK(status == ZELVA_CORE_STATUS_INCORRECT_SETTING_TYPE);
    } else {
        CHECK(status == ZELVA_CORE_STATUS_NO_ERROR);
        if (present == entries.end()) {
            entries[fuzz::default_prefix + key] = value;
        }
        entries[key] = value;
    }
    check_all(entries, file.others);

    const std::vector<std::string> keys = fuzz::keys();
    CHECK(!keys.empty());
    // Any of them, but the same one for the same file.
    const std::string deleted = keys[size % keys.size()];
    CHECK(zelva_core_settings_delete_key(deleted.c_str()) == ZELVA_CORE_STATUS_NO_ERROR);
    entries.erase(deleted);
    entries.erase(fuzz::default_prefix + deleted);
    check_all(entries, file.others);
    // It would mean nothing, but a person reads the file too.
    CHECK(fuzz::read_file(simulated::disk.text()).entries.count(fuzz::default_prefix + deleted) == 0);

    CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
    CHECK(zelva_core_settings_init("test") == ZELVA_CORE_STATUS_NO_ERROR);
    check_all(entries, file.others);
    CHECK(zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
    simulated::disk = simulated::Disk();  // what is left must not look like a leak
    return 0;
}
