// Where the stores' files are. Every name of a file or folder is made here.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "file/error.h"

namespace zelva::file {

enum class Kind { settings, configuration };

/// The path of a store's file; nothing when the store cannot have this name.
std::optional<std::string> store_path(Kind kind, std::string_view name);

/// The path of the file that the programs share which have this store's file open. `path` leads over no link.
std::string shared_state_path(const std::string& path);

/// Makes `path` that of the file to which it leads: links followed, also one whose target does not exist yet.
Error follow_links(std::string& path);

/// The folder of a file, its separator included.
std::string folder_of(const std::string& path);

/// The settings folder: an absolute path without a separator at its end, determined by the first call that succeeds.
/// Throws std::system_error when the system does not say where the user's home or the working directory is.
const std::string& settings_directory();

/// Whether there is a settings folder that the program may look into, or can be one: else no write can succeed, and
/// this is an error. Makes none. A folder that may only be read is one.
Error check_settings_directory();

/// Makes sure that the settings folder exists, and in it the folder for shared state.
Error create_settings_directory();

/// Makes sure that the folder for the shared state of a store's file exists, which may be in another folder than the
/// settings folder: one that a link leads to. `path` leads over no link.
Error create_shared_state_directory(const std::string& path);

}  // namespace zelva::file
