#include "file/store_file.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "file/paths.h"
#include "file/system.h"

namespace zelva::file {

namespace {

constexpr mode_t new_file_mode = S_IRUSR | S_IWUSR;

/// What is known of a file that has been read. One that does not exist reads as empty.
struct Contents {
    bool exists = false;
    struct stat attributes {};
    std::string text;
};

Stamp stamp_of(const struct stat& attributes) {
    return {attributes.st_dev, attributes.st_ino, attributes.st_size, attributes.st_mtim};
}

/// Whether a file is in the state of this stamp; no file is in the state of an empty one.
bool is_stamp_of(const std::string& path, const Stamp& stamp) {
    struct stat attributes {};
    return ::stat(path.c_str(), &attributes) == 0 ? stamp == stamp_of(attributes) : stamp == Stamp{};
}

/// Reads a file, opened as `access` says (O_RDONLY, O_RDWR). 0, also when it does not exist, or the errno of what
/// failed.
int read_file(const std::string& path, int access, Contents& contents) {
    // Without O_NONBLOCK the open would wait for the other end of a FIFO.
    const Descriptor file(open(path.c_str(), access | O_CLOEXEC | O_NONBLOCK));
    if (!file.is_open()) {
        return errno == ENOENT ? 0 : errno;
    }
    if (fstat(file.number(), &contents.attributes) != 0) {
        return errno;
    }
    if (!S_ISREG(contents.attributes.st_mode)) {
        return EINVAL;
    }
    contents.exists = true;
    return read_all(file.number(), contents.text);
}

/// Calls `use` with each line of a text, without its line feed. A last line without one counts too.
template <class Use>
void for_each_line(std::string_view text, Use&& use) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        use(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

/// The text of the file after the changes.
std::string changed_text(std::string_view text, const std::vector<Change>& changes) {
    struct Line {
        std::string_view text;
        const Change* change;
    };
    std::vector<Line> lines;
    std::vector<std::size_t> last_line(changes.size(), SIZE_MAX);
    for_each_line(text, [&](std::string_view line) {
        const auto entry = read_line(line);
        const auto change = std::find_if(changes.begin(), changes.end(), [&entry](const Change& candidate) {
            return entry && entry->key == candidate.key;
        });
        if (change != changes.end()) {
            last_line[static_cast<std::size_t>(change - changes.begin())] = lines.size();
        }
        lines.push_back({line, change == changes.end() ? nullptr : &*change});
    });

    std::string changed;
    changed.reserve(text.size());
    const auto write_change = [&changed](const Change& change) {
        if (change.value) {
            write_line(change.key, *change.value, changed);
        }
    };
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].change == nullptr) {
            changed += lines[i].text;
            changed += '\n';
        } else if (last_line[static_cast<std::size_t>(lines[i].change - changes.data())] == i) {
            write_change(*lines[i].change);
        }
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (last_line[i] == SIZE_MAX) {
            write_change(changes[i]);
        }
    }
    return changed;
}

/// Makes `path` that of the file to which it leads: links followed, also one whose target does not exist yet. 0, or the
/// errno of what failed.
int follow_links(std::string& path) {
    constexpr int most_links = 40;
    for (int links = 0; links < most_links; ++links) {
        std::string target(PATH_MAX, '\0');
        const ssize_t size = readlink(path.c_str(), target.data(), target.size());
        if (size < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        }
        target.resize(static_cast<std::size_t>(size));
        path = target[0] == '/' ? target : path.substr(0, path.rfind('/') + 1) + target;
    }
    return ELOOP;
}

/// A file under construction beside the one that it is to replace. At the end of the object it is gone, or else the
/// file that it has replaced.
class Replacement {
  public:
    explicit Replacement(std::string path)
        : path_(std::move(path)),
          folder_path_(path_.substr(0, path_.rfind('/') + 1)),
          folder_(open(folder_path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          temporary_(folder_path_ + ".zelva-XXXXXX"),
          file_(mkostemp(temporary_.data(), O_CLOEXEC)),
          open_error_(folder_.is_open() && file_.is_open() ? 0 : errno) {}
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (file_.is_open()) {
            unlink(temporary_.c_str());
        }
    }

    /// Gives the file its content and the mode and owner of the one it replaces, brings it to the disk and puts it in
    /// place, and tells its stamp. 0, or the errno of what failed; then the old file is in place. Takes no memory.
    int replace(const Contents& old, std::string_view text, Stamp& stamp) {
        if (open_error_ != 0) {
            return open_error_;
        }
        if (old.exists && fchown(file_.number(), old.attributes.st_uid, old.attributes.st_gid) != 0) {
            return errno;
        }
        const mode_t mode = old.exists ? old.attributes.st_mode & ALLPERMS : new_file_mode;
        if (fchmod(file_.number(), mode) != 0) {
            return errno;
        }
        if (const int error = write_all(file_.number(), text)) {
            return error;
        }
        struct stat attributes {};
        if (fstat(file_.number(), &attributes) != 0 || fsync(file_.number()) != 0) {
            return errno;
        }
        // The two files change places, so that they can change back; but for file systems that cannot do that.
        const unsigned flags = old.exists ? RENAME_EXCHANGE : RENAME_NOREPLACE;
        if (rename(flags) != 0 && (errno != EINVAL || rename(0) != 0)) {
            return errno;
        }
        if (const int error = sync_folder(folder_.number())) {
            if (old.exists) {
                rename(RENAME_EXCHANGE);
            } else {
                unlink(path_.c_str());
            }
            return error;
        }
        stamp = stamp_of(attributes);
        return 0;
    }

  private:
    int rename(unsigned flags) const { return renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), flags); }

    const std::string path_;
    const std::string folder_path_;
    const Descriptor folder_;
    std::string temporary_;
    const Descriptor file_;
    const int open_error_;
};

}  // namespace

bool operator==(const Stamp& left, const Stamp& right) {
    return left.device == right.device && left.inode == right.inode && left.size == right.size &&
           left.modified.tv_sec == right.modified.tv_sec && left.modified.tv_nsec == right.modified.tv_nsec;
}

StoreFile::StoreFile(std::string path, std::string shared_path)
    : path_(std::move(path)), shared_(std::make_unique<SharedState>(std::move(shared_path))) {
    // A failure here is met again, and reported, by the first write.
    if (create_settings_directory() == ZELVA_CORE_STATUS_NO_ERROR) {
        shared_->open();
    }
}

zelva_core_status StoreFile::load(const std::function<void(Entry)>& use, Revision& revision) const {
    // Read before the file, so that a change in between is one too many rather than one missed. During a change the
    // file may be the old one still.
    const std::uint64_t counter = shared_ && shared_->has_counter() ? shared_->counter() : 0;
    Contents contents;
    if (const int error = read_file(path_, O_RDONLY, contents)) {
        return status_of(error);
    }
    revision = {counter - counter % 2, stamp_of(contents.attributes)};
    if (!contents.exists) {
        return ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
    }
    for_each_line(contents.text, [&use](std::string_view line) {
        if (auto entry = read_line(line)) {
            use(*std::move(entry));
        }
    });
    return ZELVA_CORE_STATUS_NO_ERROR;
}

bool StoreFile::is_current(const Revision& revision) const {
    if (!shared_) {
        return true;
    }
    if (!shared_->has_counter()) {
        return is_stamp_of(path_, revision.stamp);
    }
    const std::uint64_t counter = shared_->counter();
    return counter - counter % 2 == revision.counter;
}

zelva_core_status StoreFile::lock() {
    if (const zelva_core_status status = create_settings_directory()) {
        return status;
    }
    const int error = shared_->lock();
    return error == 0 ? ZELVA_CORE_STATUS_NO_ERROR : status_of(error);
}

void StoreFile::unlock() {
    shared_->unlock();
}

bool StoreFile::is_unchanged(const Revision& revision) const {
    // An odd counter is that of a program that died in the middle of a change.
    return shared_->counter() == revision.counter && is_stamp_of(path_, revision.stamp);
}

std::uint64_t StoreFile::end_change() {
    shared_->end_change();
    return shared_->counter();
}

zelva_core_status StoreFile::apply(const std::vector<Change>& changes, Stamp& stamp) const {
    std::string path = path_;
    if (const int error = follow_links(path)) {
        return status_of(error);
    }
    // One that its owner has made read-only is not to be replaced, hence the access.
    Contents old;
    if (const int error = read_file(path, O_RDWR, old)) {
        return status_of(error);
    }
    const std::string text = changed_text(old.text, changes);
    if (const int error = Replacement(path).replace(old, text, stamp)) {
        return status_of(error);
    }
    return ZELVA_CORE_STATUS_NO_ERROR;
}

void StoreFile::forget_lock() {
    if (shared_) {
        shared_->forget_lock();
    }
}

}  // namespace zelva::file
