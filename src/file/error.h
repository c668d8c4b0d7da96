// What has failed, on its way up: a call of the system, with its errno and what it was for. It fits into two registers.
#pragma once

#include <zelva/core.h>

#include <cerrno>

namespace zelva::file {

/// The files and folders of a store; StoreFile::path_of() tells their paths.
enum class Subject : unsigned char { nothing, store_file, folder, shared_state, settings_folder };

struct Error {
    int number = 0;  // the errno; 0: nothing has failed
    Subject subject = Subject::nothing;
    const char* call = "";  // the function of the system

    explicit operator bool() const { return number != 0; }

    /// The same, of this subject if it is of none yet.
    Error of(Subject other) const { return {number, subject == Subject::nothing ? other : subject, call}; }
};

inline Error error_of(const char* call, int number, Subject subject = Subject::nothing) {
    return {number, subject, call};
}

inline Error last_error(const char* call) {
    return error_of(call, errno);
}

/// The one place that turns an errno into a status.
inline zelva_core_status status_of(const Error& error) {
    return error.number == 0        ? ZELVA_CORE_STATUS_NO_ERROR
           : error.number == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED
                                    : ZELVA_CORE_STATUS_IO_FAILED;
}

}  // namespace zelva::file
