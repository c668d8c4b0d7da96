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

/// The path of the file that the programs share which have the settings store of this name open.
std::string shared_state_path(std::string_view name);

/// The settings folder: an absolute path without a separator at its end, determined by the first call that succeeds.
/// Throws std::system_error when the system does not say where the user's home or the working directory is.
const std::string& settings_directory();

/// Whether there is a settings folder that the program may look into, or can be one: else no write can succeed. Makes
/// none. A folder that may only be read is one.
zelva_core_status check_settings_directory();

/// Makes sure that the settings folder exists, and in it the folder for shared state.
zelva_core_status create_settings_directory();

}  // namespace zelva::file
