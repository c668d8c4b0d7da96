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
    nlink_t names = 0;
};

/// Of a state that nobody knows: no file is in it, nor is one that does not exist.
inline constexpr Stamp unknown_stamp{0, 0, -1, {}, 0};

inline Stamp stamp_of(const struct stat& attributes) {
    return {attributes.st_dev, attributes.st_ino, attributes.st_size, attributes.st_mtim, attributes.st_nlink};
}

inline bool is_same_file(const Stamp& left, const Stamp& right) {
    return left.device == right.device && left.inode == right.inode;
}

inline bool operator==(const Stamp& left, const Stamp& right) {
    return is_same_file(left, right) && left.size == right.size && left.names == right.names &&
           left.modified.tv_sec == right.modified.tv_sec && left.modified.tv_nsec == right.modified.tv_nsec;
}

}  // namespace zelva::file
