#include "file/paths.h"

#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "file/system.h"

namespace zelva::file {

namespace {

constexpr std::string_view configuration_prefix = "CONFIG_";
constexpr std::size_t longest_name = 200;
constexpr const char* system_directory = "/var/lib/zelva/settings";
constexpr const char* user_directory = "/zelva/settings";

bool begins_with(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

/// The value of an environment variable; empty when it is not set, and in set-user-ID programs, whose environment
/// their caller chooses.
std::string environment(const char* name) {
    const char* value = secure_getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

std::string home_directory() {
    std::string home = environment("HOME");
    if (!home.empty()) {
        return home;
    }
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
        home = found->pw_dir;
    }
    return home;
}

std::string chosen_directory() {
    std::string chosen = environment("ZELVA_CORE_SETTINGS_DIR");
    if (!chosen.empty()) {
        return chosen;
    }
    if (geteuid() == 0) {
        return system_directory;
    }
    // A relative path in this variable is to be ignored (XDG Base Directory Specification).
    const std::string config = environment("XDG_CONFIG_HOME");
    if (begins_with(config, "/")) {
        return config + user_directory;
    }
    const std::string home = home_directory();
    return home.empty() ? system_directory : home + "/.config" + user_directory;
}

/// Absolute, so that the stores stay where they are when the program changes its working directory.
std::string absolute_directory() {
    std::error_code error;
    const std::string chosen = chosen_directory();
    const auto path = std::filesystem::absolute(chosen, error);
    std::string directory = error ? chosen : path.string();
    while (directory.size() > 1 && directory.back() == '/') {
        directory.pop_back();
    }
    return directory;
}

}  // namespace

std::optional<std::string> store_path(Kind kind, std::string_view name) {
    // Names that begin with a dot are left for the library's own files.
    if (name.empty() || name.size() > longest_name || name[0] == '.' ||
        name.find_first_of("/\n") != std::string_view::npos) {
        return std::nullopt;
    }
    if (kind == Kind::settings && begins_with(name, configuration_prefix)) {
        return std::nullopt;
    }
    std::string path = settings_directory() + '/';
    if (kind == Kind::configuration) {
        path += configuration_prefix;
    }
    path += name;
    return path;
}

const std::string& settings_directory() {
    // Never destroyed: the stores may be used until the process ends.
    static const std::string& directory = *new std::string(absolute_directory());
    return directory;
}

zelva_core_status create_settings_directory() {
    const std::string& directory = settings_directory();
    const auto exists = [](const std::string& path) {
        struct stat attributes {};
        return stat(path.c_str(), &attributes) == 0;
    };
    if (exists(directory)) {
        return ZELVA_CORE_STATUS_NO_ERROR;
    }
    for (std::size_t end = 0; end != std::string::npos;) {
        end = directory.find('/', end + 1);
        const std::string part = directory.substr(0, end);
        if (!exists(part) && mkdir(part.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            return status_of(errno);
        }
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

}  // namespace zelva::file
