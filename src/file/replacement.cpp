#include "file/replacement.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace zelva::file {

namespace {

constexpr mode_t new_file_mode = S_IRUSR | S_IWUSR;
constexpr std::string_view prefix = ".zelva-";
constexpr const char* access_list = "system.posix_acl_access";

/// They are of the old content, and the system makes new ones.
bool is_digest(std::string_view attribute) {
    return attribute == "security.ima" || attribute == "security.evm";
}

/// Calls a function of the system that tells a size without a buffer, and then fills one. 0, or its errno.
template <class Get>
int get_whole(std::string& out, Get&& get) {
    for (;;) {
        ssize_t size = get(nullptr, 0);
        if (size > 0) {
            out.resize(static_cast<std::size_t>(size));
            size = get(out.data(), out.size());
        }
        if (size >= 0) {
            out.resize(static_cast<std::size_t>(size));
            return 0;
        }
        if (errno != ERANGE) {  // it has grown meanwhile
            return errno;
        }
    }
}

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

std::size_t longest_value(const std::vector<Attribute>& attributes) {
    std::size_t longest = 0;
    for (const Attribute& attribute : attributes) {
        longest = std::max(longest, attribute.value.size());
    }
    return longest;
}

}  // namespace

void remove_leftover(const std::string& path) {
    system::unlink(temporary_path(path).c_str());
}

Error read_attributes(const Descriptor& file, std::vector<Attribute>& attributes) {
    std::string names;
    const int error =
        get_whole(names, [&](char* out, std::size_t size) { return system::flistxattr(file.number(), out, size); });
    if (error != 0) {
        return error_of("flistxattr", error == ENOTSUP ? 0 : error);
    }
    for (std::size_t begin = 0; begin < names.size();) {
        Attribute attribute{names.c_str() + begin, {}};
        begin += attribute.name.size() + 1;
        if (is_digest(attribute.name)) {
            continue;
        }
        const int failure = get_whole(attribute.value, [&](char* out, std::size_t size) {
            return system::fgetxattr(file.number(), attribute.name.c_str(), out, size);
        });
        if (failure == 0) {
            attributes.push_back(std::move(attribute));
        } else if (failure != ENODATA) {  // somebody has removed it meanwhile
            return error_of("fgetxattr", failure);
        }
    }
    return {};
}

Replacement::Replacement(const std::string& path, std::vector<Attribute> attributes)
    : path_(path),
      folder_(folder_of(path_)),
      temporary_(temporary_path(path_)),
      attributes_(std::move(attributes)),
      found_(longest_value(attributes_), '\0'),
      file_(create(temporary_)),
      open_error_(file_.is_open() ? Error() : last_error("open")) {}

Replacement::~Replacement() {
    if (!open_error_) {
        system::unlink(temporary_.c_str());
    }
}

int Replacement::rename(unsigned flags) const {
    return system::renameat2(temporary_.c_str(), path_.c_str(), flags);
}

Error Replacement::set_attributes() {
    bool has_access_list = false;
    for (const auto& [name, value] : attributes_) {
        has_access_list |= name == access_list;
        // The system may have given the file the same one, as it does with labels, which few may set.
        const ssize_t size = system::fgetxattr(file_.number(), name.c_str(), found_.data(), found_.size());
        const bool is_set = size == static_cast<ssize_t>(value.size()) && found_.compare(0, value.size(), value) == 0;
        if (!is_set && system::fsetxattr(file_.number(), name.c_str(), value.data(), value.size(), 0) != 0) {
            return last_error("fsetxattr");
        }
    }
    // The folder may have passed one on to the new file, to users who could not open the old one.
    const bool has_inherited = !has_access_list && system::fgetxattr(file_.number(), access_list, nullptr, 0) > 0;
    return has_inherited && system::fremovexattr(file_.number(), access_list) != 0 ? last_error("fremovexattr")
                                                                                   : Error();
}

Error Replacement::fill(const struct stat* old, std::string_view text) {
    if (old != nullptr && system::fchown(file_.number(), old->st_uid, old->st_gid) != 0) {
        return last_error("fchown");
    }
    if (system::fchmod(file_.number(), old == nullptr ? new_file_mode : old->st_mode & ALLPERMS) != 0) {
        return last_error("fchmod");
    }
    if (const Error error = set_attributes()) {
        return error;
    }
    std::size_t written = 0;
    if (const Error error = write_at(file_, 0, text, written)) {
        return error;
    }
    return system::fsync(file_.number()) == 0 ? Error() : last_error("fsync");
}

/// Puts the old file back, where that can be done: else the next change finds another file in place.
void Replacement::put_back(bool is_exchanged, const struct stat* old, Stamp& stamp) const {
    if (is_exchanged) {
        rename(RENAME_EXCHANGE);
        struct stat restored {};
        if (system::stat(path_.c_str(), &restored) == 0) {
            stamp.changed = restored.st_ctim;  // its name has changed twice
        }
    } else if (old == nullptr) {
        system::unlink(path_.c_str());
    }
}

Error Replacement::replace(const struct stat* old, std::string_view text, bool is_to_be_written, Stamp& stamp) {
    if (const Error error = open_error_ ? open_error_ : fill(old, text)) {
        return error;
    }
    // The two files change places, so that they can change back; but for file systems that cannot do that.
    bool is_exchanged = old != nullptr;
    if (rename(is_exchanged ? RENAME_EXCHANGE : RENAME_NOREPLACE) != 0) {
        if (errno != EINVAL || rename(0) != 0) {
            return last_error("renameat2");
        }
        is_exchanged = false;
    }
    if (const Error error = is_to_be_written ? sync_folder(folder_) : Error()) {
        has_failed_to_flush_ = true;
        put_back(is_exchanged, old, stamp);
        return error.of(Subject::folder);
    }
    // Not before: its new name changes the file's times, too.
    struct stat attributes {};
    stamp = system::fstat(file_.number(), &attributes) == 0 ? stamp_of(attributes) : unknown_stamp;
    return {};
}

}  // namespace zelva::file
