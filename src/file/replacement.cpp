#include "file/replacement.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace zelva::file {

namespace {

constexpr mode_t new_file_mode = S_IRUSR | S_IWUSR;
constexpr std::string_view prefix = ".zelva-";

/// The name is always the same, since only the holder of the store's lock uses it: what a program has left behind that
/// was killed is found again.
std::string temporary_path(const std::string& path) {
    std::string name = path.substr(folder_of(path).size());
    name.insert(0, prefix);
    name.resize(std::min<std::size_t>(name.size(), NAME_MAX));
    return folder_of(path) + name;
}

/// Never a file that is there already: in a folder that others may write it might be a link to anything.
Descriptor create(const std::string& path) {
    system::unlink(path.c_str());
    return Descriptor(system::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, new_file_mode));
}

}  // namespace

int follow_links(std::string& path) {
    constexpr int most_links = 40;
    for (int links = 0; links < most_links; ++links) {
        std::string target(PATH_MAX, '\0');
        const ssize_t size = system::readlink(path.c_str(), target.data(), target.size());
        if (size < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        }
        target.resize(static_cast<std::size_t>(size));
        if (target[0] != '/') {
            target.insert(0, folder_of(path));
        }
        path = std::move(target);
    }
    return ELOOP;
}

std::string folder_of(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

void remove_leftover(const std::string& path) {
    system::unlink(temporary_path(path).c_str());
}

Replacement::Replacement(std::string path)
    : path_(std::move(path)),
      folder_(folder_of(path_)),
      temporary_(temporary_path(path_)),
      file_(create(temporary_)),
      open_error_(file_.is_open() ? 0 : errno) {}

Replacement::~Replacement() {
    if (open_error_ == 0) {
        system::unlink(temporary_.c_str());
    }
}

int Replacement::rename(unsigned flags) const {
    return system::renameat2(temporary_.c_str(), path_.c_str(), flags);
}

int Replacement::replace(const struct stat* old, std::string_view text, bool is_to_be_written, Stamp& stamp) {
    if (open_error_ != 0) {
        return open_error_;
    }
    if (old != nullptr && system::fchown(file_.number(), old->st_uid, old->st_gid) != 0) {
        return errno;
    }
    if (system::fchmod(file_.number(), old == nullptr ? new_file_mode : old->st_mode & ALLPERMS) != 0) {
        return errno;
    }
    std::size_t written = 0;
    if (const int error = write_at(file_, 0, text, written)) {
        return error;
    }
    if (system::fsync(file_.number()) != 0) {
        return errno;
    }
    // The two files change places, so that they can change back; but for file systems that cannot do that.
    bool is_exchanged = old != nullptr;
    if (rename(is_exchanged ? RENAME_EXCHANGE : RENAME_NOREPLACE) != 0) {
        if (errno != EINVAL || rename(0) != 0) {
            return errno;
        }
        is_exchanged = false;
    }
    if (const int error = is_to_be_written ? sync_folder(folder_) : 0) {
        has_failed_to_flush_ = true;
        // Where even that cannot be undone, the next change finds another file in place.
        if (is_exchanged) {
            rename(RENAME_EXCHANGE);
            struct stat restored {};
            if (system::stat(path_.c_str(), &restored) == 0) {
                stamp.changed = restored.st_ctim;  // its name has changed twice
            }
        } else if (old == nullptr) {
            system::unlink(path_.c_str());
        }
        return error;
    }
    // Not before: its new name changes the file's times, too.
    struct stat attributes {};
    stamp = system::fstat(file_.number(), &attributes) == 0 ? stamp_of(attributes) : unknown_stamp;
    return 0;
}

}  // namespace zelva::file
