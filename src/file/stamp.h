// Tells one state of a file from another.
#pragma once

#include <sys/stat.h>

#include <ctime>

namespace zelva::file {

/// The stamp of a file that does not exist has only zeros.
struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};  // the file or what is known about it; nobody can set this time
    nlink_t names = 0;
};

/// Of a state that nobody knows: no file is in it, nor is one that does not exist.
inline constexpr Stamp unknown_stamp{0, 0, -1, {}, {}, 0};

inline Stamp stamp_of(const struct stat& attributes) {
    return {attributes.st_dev,  attributes.st_ino,  attributes.st_size,
            attributes.st_mtim, attributes.st_ctim, attributes.st_nlink};
}

inline bool is_same_file(const Stamp& left, const Stamp& right) {
    return left.device == right.device && left.inode == right.inode;
}

inline bool is_same_time(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

inline bool operator==(const Stamp& left, const Stamp& right) {
    return is_same_file(left, right) && left.size == right.size && left.names == right.names &&
           is_same_time(left.modified, right.modified) && is_same_time(left.changed, right.changed);
}

}  // namespace zelva::file
