// What peers need of the file system that their libraries do not do for them.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "work.h"

namespace bench {

/// Brings the names of files in a folder to the disk.
inline void flush_folder(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(descriptor >= 0 && fsync(descriptor) == 0 && close(descriptor) == 0, "fsync of a folder");
}

}  // namespace bench
