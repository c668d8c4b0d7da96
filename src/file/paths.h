// Where the stores' files are. Every name of a file or folder is made here.
#pragma once

#include <zelva/core.h>

#include <optional>
#include <string>
#include <string_view>

namespace zelva::file {

enum class Kind { settings, configuration };

/// The path of a store's file; nothing when the store cannot have this name.
std::optional<std::string> store_path(Kind kind, std::string_view name);

/// The path of the file that the programs share which have this store's file open. `path` leads over no link.
std::string shared_state_path(const std::string& path);

/// The settings folder: an absolute path without a separator at its end, determined by the first call that succeeds.
/// Throws std::system_error when the system does not say where the user's home or the working directory is.
const std::string& settings_directory();

/// Whether there is a settings folder that the program may look into, or can be one: else no write can succeed. Makes
/// none. A folder that may only be read is one.
zelva_core_status check_settings_directory();

/// Makes sure that the settings folder exists, and in it the folder for shared state.
zelva_core_status create_settings_directory();

/// Makes sure that the folder for the shared state of a store's file exists, which may be in another folder than the
/// settings folder: one that a link leads to. `path` leads over no link.
zelva_core_status create_shared_state_directory(const std::string& path);

}  // namespace zelva::file
