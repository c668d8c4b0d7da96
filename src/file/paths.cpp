#include "file/paths.h"

#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <system_error>
#include <vector>

#include "file/descriptor.h"
#include "value/text.h"

namespace zelva::file {

namespace {

constexpr std::string_view configuration_prefix = "CONFIG_";
constexpr std::size_t longest_name = 200;
constexpr const char* system_directory = "/var/lib/zelva/settings";
constexpr const char* shared_state_directory = "/.zelva";
constexpr const char* user_directory = "/zelva/settings";

/// The value of an environment variable; empty when it is not set, and in set-user-ID programs, whose environment
/// their caller chooses.
std::string environment(const char* name) {
    const char* value = secure_getenv(name);
    return value == nullptr ? "" : value;
}

[[noreturn]] void fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// The home folder that the user database names; empty when it does not know the user.
std::string home_of_user() {
    for (std::vector<char> buffer(1024);; buffer.resize(buffer.size() * 2)) {
        passwd entry{};
        passwd* found = nullptr;
        const int error = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == 0) {
            return found == nullptr ? "" : found->pw_dir;
        }
        if (error != ERANGE && error != EINTR) {
            fail(error, "user database");
        }
    }
}

bool is_absolute(const std::string& path) {
    return value::begins_with(path, "/");
}

/// Whether a home can hold settings. The user database gives users of the system homes that do not exist. One that
/// cannot be looked at is a home: settings that are there now would be missed if others took their place.
bool is_home(const std::string& path) {
    struct stat attributes {};
    return is_absolute(path) && (system::stat(path.c_str(), &attributes) == 0 ? S_ISDIR(attributes.st_mode)
                                                                              : errno != ENOENT && errno != ENOTDIR);
}

std::string chosen_directory() {
    std::string chosen = environment("ZELVA_CORE_SETTINGS_DIR");
    if (!chosen.empty()) {
        return chosen;
    }
    if (geteuid() == 0) {
        return system_directory;
    }
    // The folders that these two variables name are to be absolute, and to be ignored if they are not.
    const std::string config = environment("XDG_CONFIG_HOME");
    if (is_absolute(config)) {
        return config + user_directory;
    }
    std::string home = environment("HOME");
    if (!is_home(home)) {
        home = home_of_user();
    }
    if (!is_home(home)) {
        return system_directory;
    }
    return home + "/.config" + user_directory;
}

/// Absolute, so that the stores stay where they are when the program changes its working directory.
std::string absolute_directory() {
    std::error_code error;
    std::string directory = std::filesystem::absolute(chosen_directory(), error).string();
    if (error) {
        fail(error.value(), "working directory");
    }
    while (directory.size() > 1 && directory.back() == '/') {
        directory.pop_back();
    }
    return directory;
}

bool exists(const std::string& path) {
    struct stat attributes {};
    return system::stat(path.c_str(), &attributes) == 0;
}

/// Whether there is a folder and this process may use it so (access()). 0, or the errno of what failed; ENOENT where
/// one could be made.
int check_folder(const std::string& path, int mode) {
    struct stat attributes {};
    if (system::stat(path.c_str(), &attributes) == 0) {
        return !S_ISDIR(attributes.st_mode) ? ENOTDIR : system::access(path.c_str(), mode) == 0 ? 0 : errno;
    }
    const int error = errno;
    char target = 0;  // of a link, in whose place none can be made
    return system::readlink(path.c_str(), &target, sizeof target) < 0 ? error : ENOTDIR;
}

/// Makes a folder in one that exists, and flushes its entry there.
Error make_folder(const std::string& path, mode_t mode) {
    if (system::mkdir(path.c_str(), mode) != 0) {
        return errno == EEXIST ? Error() : last_error("mkdir");
    }
    return sync_folder(folder_of(path));
}

/// Makes the folder for shared state, for those who may use the settings folder.
Error make_shared_folder(const std::string& path, const std::string& directory) {
    struct stat settings {};
    if (system::stat(directory.c_str(), &settings) != 0) {
        return last_error("stat");
    }
    if (system::mkdir(path.c_str(), S_IRWXU) != 0) {
        return errno == EEXIST ? Error() : last_error("mkdir");
    }
    const mode_t mode = (settings.st_mode & (ACCESSPERMS | S_ISGID)) | S_IRWXU;
    return system::chmod(path.c_str(), mode) == 0 ? Error()
                                                  : last_error("chmod");  // mkdir takes away what the umask has
}

}  // namespace

std::optional<std::string> store_path(Kind kind, std::string_view name) {
    // Names that begin with a dot are left for the library's own files.
    if (name.empty() || name.size() > longest_name || name[0] == '.' ||
        name.find_first_of("/\n") != std::string_view::npos) {
        return std::nullopt;
    }
    if (kind == Kind::settings && value::begins_with(name, configuration_prefix)) {
        return std::nullopt;
    }
    std::string path = settings_directory() + '/';
    if (kind == Kind::configuration) {
        path += configuration_prefix;
    }
    path += name;
    return path;
}

std::string shared_state_path(const std::string& path) {
    const std::size_t name = path.rfind('/');
    return path.substr(0, name) + shared_state_directory + path.substr(name);
}

Error follow_links(std::string& path) {
    constexpr int most_links = 40;
    for (int links = 0; links < most_links; ++links) {
        std::string target(PATH_MAX, '\0');
        const ssize_t size = system::readlink(path.c_str(), target.data(), target.size());
        if (size < 0) {
            return errno == EINVAL || errno == ENOENT ? Error() : last_error("readlink");
        }
        target.resize(static_cast<std::size_t>(size));
        if (target[0] != '/') {
            target.insert(0, folder_of(path));
        }
        path = std::move(target);
    }
    return error_of("readlink", ELOOP);
}

std::string folder_of(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

const std::string& settings_directory() {
    // Never destroyed: the stores may be used until the process ends.
    static const std::string& directory = *new std::string(absolute_directory());
    return directory;
}

Error check_settings_directory() {
    const std::string& directory = settings_directory();
    int error = check_folder(directory, X_OK);
    for (std::size_t end = directory.size(); error == ENOENT;) {  // the root folder exists
        end = directory.rfind('/', end - 1);
        error = check_folder(directory.substr(0, std::max<std::size_t>(end, 1)), W_OK);
    }
    return error_of("access", error, Subject::settings_folder);
}

Error create_settings_directory() {
    const std::string& directory = settings_directory();
    const std::string shared = directory + shared_state_directory;
    if (exists(shared)) {
        return {};
    }
    constexpr mode_t private_mode = S_IRWXU;
    constexpr mode_t public_mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;
    // Root's folders lead to other users' files as well.
    const mode_t parent_mode = geteuid() == 0 ? public_mode : private_mode;
    for (std::size_t end = 0; end != std::string::npos;) {
        end = directory.find('/', end + 1);
        const std::string part = directory.substr(0, end);
        if (exists(part)) {
            continue;
        }
        if (const Error error = make_folder(part, end == std::string::npos ? private_mode : parent_mode)) {
            return error.of(Subject::settings_folder);
        }
    }
    // A program that has made the settings folder may have died before its entry reached the disk. The folder for
    // shared state comes last: where it is, all of that has been done.
    sync_folder(folder_of(directory));
    return make_shared_folder(shared, directory).of(Subject::settings_folder);
}

Error create_shared_state_directory(const std::string& path) {
    const std::string directory = path.substr(0, path.rfind('/'));
    if (directory == settings_directory()) {
        return create_settings_directory();
    }
    const std::string shared = directory + shared_state_directory;
    return exists(shared) ? Error() : make_shared_folder(shared, folder_of(path));
}

}  // namespace zelva::file
