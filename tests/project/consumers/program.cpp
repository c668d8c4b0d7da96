// Stores a setting and reads it, by the accessors.
#include <zelva/settings.h>
#include <zelva/accessors.hpp>

static_assert(__cplusplus >= 201703L, "the library asks for what its headers take");

int main() {
    const std::vector<std::string> names{"one", "two"};
    std::vector<std::string> read;
    return !(zelva_core_settings_init("consumer") == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva::core::settingsSetStringVector("names", names) == ZELVA_CORE_STATUS_NO_ERROR &&
             zelva::core::settingsGetStringVector("names", read) == ZELVA_CORE_STATUS_NO_ERROR && read == names &&
             zelva_core_settings_deinit() == ZELVA_CORE_STATUS_NO_ERROR);
}
