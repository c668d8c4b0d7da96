// Opens a store and does what it is told, a line of standard input at a time: "set KEY NUMBER", "get KEY", "delete
// KEY", "sync", "reload", or "count KEY NUMBER", which sets a key to each number up to this one. Prints a line for
// each: the number that a get hands out, otherwise a status, the first one that is not 0; or "lost" where a number that
// was set is not read back.
//
//   obey STORE
#include <zelva/settings.h>

#include <iostream>
#include <string>

namespace {

std::string get(const std::string& key) {
    int number = 0;
    const zelva_core_status status = zelva_core_settings_get_int_value(key.c_str(), &number);
    return status == ZELVA_CORE_STATUS_NO_ERROR ? std::to_string(number) : "status " + std::to_string(status);
}

std::string set(const std::string& key, int number) {
    const zelva_core_status status = zelva_core_settings_set_int_value(key.c_str(), number);
    const bool is_lost = status == ZELVA_CORE_STATUS_NO_ERROR && get(key) != std::to_string(number);
    return is_lost ? "lost" : std::to_string(status);
}

std::string count(const std::string& key, int most) {
    std::string result = "0";
    for (int number = 1; number <= most && result == "0"; ++number) {
        result = set(key, number);
    }
    return result;
}

}  // namespace

int main(int, char** arguments) {
    if (const zelva_core_status status = zelva_core_settings_init(arguments[1])) {
        std::cout << "status " << status << std::endl;
        return 1;
    }
    for (std::string command; std::cin >> command;) {
        std::string key;
        int number = 0;
        if (command == "set" && std::cin >> key >> number) {
            std::cout << set(key, number) << std::endl;
        } else if (command == "count" && std::cin >> key >> number) {
            std::cout << count(key, number) << std::endl;
        } else if (command == "get" && std::cin >> key) {
            std::cout << get(key) << std::endl;
        } else if (command == "delete" && std::cin >> key) {
            std::cout << zelva_core_settings_delete_key(key.c_str()) << std::endl;
        } else {
            std::cout << (command == "sync" ? zelva_core_settings_sync() : zelva_core_settings_reload()) << std::endl;
        }
    }
    zelva_core_settings_deinit();
}
