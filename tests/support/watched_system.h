// The library's calls of the system, as they are, and watched. Linked in the place of file/system.cpp, it asks before
// each call what is to become of it: so a test can count calls, make them fail or fall short, hold them up, or end the
// program in the middle of its work.
#pragma once

#include <sys/vfs.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace watched {

/// A call: the name of its function, and how many bytes it is to read or write. A pwrite of the counter that programs
/// share is called "count".
struct Call {
    const char* name;
    std::size_t size;
};

/// What becomes of a call: it fails with an errno, or it reads or writes at most so many bytes.
struct Fate {
    int error = 0;
    std::size_t most = SIZE_MAX;
};

/// Asked before each call, in the thread that makes it, if there is somebody to ask. To be changed while no other
/// thread uses the library.
extern std::function<Fate(const Call&)> before_call;

/// The file system that all files lie on, if not the real one.
extern std::optional<decltype(statfs::f_type)> file_system;

/// Whether a file that was opened since the program began would stay open in a program that this one starts.
extern bool has_opened_inheritable;

}  // namespace watched
