// What has failed, on its way up: a call of the system, with its errno and the file that it was for.
#pragma once

#include <zelva/core.h>

#include <cerrno>
#include <string>

namespace zelva::file {

struct Error {
    int number = 0;                     // the errno; 0: nothing has failed
    const char* call = "";              // the function of the system
    const std::string* path = nullptr;  // lives as long as the object that the error is from

    explicit operator bool() const { return number != 0; }

    /// The same, of this file if it is of none yet.
    Error of(const std::string& file) const { return {number, call, path == nullptr && number != 0 ? &file : path}; }
};

inline Error last_error(const char* call) {
    return {errno, call, nullptr};
}

/// The one place that turns an errno into a status.
inline zelva_core_status status_of(const Error& error) {
    return error.number == 0        ? ZELVA_CORE_STATUS_NO_ERROR
           : error.number == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED
                                    : ZELVA_CORE_STATUS_IO_FAILED;
}

}  // namespace zelva::file
