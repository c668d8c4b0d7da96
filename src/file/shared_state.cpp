#include "file/shared_state.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace zelva::file {

namespace {

constexpr off_t file_size = 4096;
constexpr int open_flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

/// Takes or releases the lock of an open file. The lock belongs to the open file, not to the process as older POSIX
/// locks do, so that it holds between threads, and is not lost when the process closes another descriptor of the same
/// file.
int set_lock(const Descriptor& file, short type, bool wait = true) {
    while (system::lock(file.number(), type, wait) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

/// Opens the file for reading and writing. A new one can be read and written by those who may do that with the folder
/// that it is in, so that users who share a store share its lock.
Descriptor open_shared(const std::string& path) {
    Descriptor file(system::open(path.c_str(), O_RDWR | open_flags));
    if (file.is_open() || errno != ENOENT) {
        return file;
    }
    struct stat folder {};
    const std::string folder_path = path.substr(0, path.rfind('/'));
    if (system::stat(folder_path.c_str(), &folder) != 0) {
        return file;
    }
    const mode_t mode = (folder.st_mode & (DEFFILEMODE)) | S_IRUSR | S_IWUSR;
    file = Descriptor(system::open(path.c_str(), O_RDWR | O_CREAT | open_flags, mode));
    if (file.is_open()) {
        system::fchmod(file.number(), mode);  // whatever the umask; only its owner can, and need not
    }
    return file;
}

}  // namespace

SharedState::~SharedState() {
    for (Page* page : pages_) {
        system::unmap(page, file_size);
    }
}

SharedState::ReadLock::ReadLock(const SharedState& state, bool wait)
    : file_(system::open(state.path_.c_str(), O_RDONLY | open_flags)) {
    if (file_.is_open()) {
        const int error = set_lock(file_, F_RDLCK, wait);
        is_refused_ = !wait && (error == EAGAIN || error == EACCES);
    }
}

int SharedState::open() {
    Descriptor lock = open_shared(path_);
    if (!lock.is_open()) {
        const bool may_only_read = errno == EACCES || errno == EROFS;
        return !may_only_read ? errno : has_counter() ? 0 : map(O_RDONLY);
    }
    if (const int error = map(O_RDWR)) {
        return error;
    }
    lock_ = std::move(lock);  // no lock without a counter
    return 0;
}

int SharedState::map(int access) {
    // Not the descriptor of the lock: a mapping keeps the open file alive that it was made from, and with it its lock,
    // in a forked child too.
    const Descriptor file(system::open(path_.c_str(), access | open_flags));
    struct stat attributes {};
    if (!file.is_open() || system::fstat(file.number(), &attributes) != 0) {
        return errno;
    }
    if (!S_ISREG(attributes.st_mode)) {
        return EINVAL;
    }
    if (attributes.st_size < file_size) {
        // The file is new. To read a mapped page that the file does not have would end the program.
        if (access == O_RDONLY) {
            return EINVAL;
        }
        // Written, so that the disk has room for it: a full one would end the program when the counter is changed.
        // Others may be using the counter already.
        const std::string rest(file_size - sizeof(Page), '\0');
        std::size_t written = 0;
        if (const int error = write_at(file, sizeof(Page), rest, written)) {
            return error;
        }
    }
    pages_.reserve(pages_.size() + 1);
    const int protection = access == O_RDWR ? PROT_READ | PROT_WRITE : PROT_READ;
    void* const memory = system::map(file.number(), file_size, protection);
    if (memory == nullptr) {
        return errno;
    }
    pages_.push_back(static_cast<Page*>(memory));
    page_.store(pages_.back(), std::memory_order_release);
    return 0;
}

int SharedState::find_out_whether_removed(bool& is_removed) const {
    struct stat opened {};
    if (system::fstat(lock_.number(), &opened) != 0) {
        return errno;
    }
    is_removed = opened.st_nlink == 0;
    if (is_removed) {
        // Some file systems do not count links.
        struct stat found {};
        const bool is_there = system::stat(path_.c_str(), &found) == 0;
        is_removed = !is_there || found.st_ino != opened.st_ino || found.st_dev != opened.st_dev;
        return is_there || errno == ENOENT ? 0 : errno;
    }
    return 0;
}

int SharedState::lock(bool wait) {
    for (;;) {
        if (!lock_.is_open()) {
            if (const int error = open()) {
                return error;
            }
        }
        if (!lock_.is_open()) {
            return EACCES;
        }
        if (const int error = set_lock(lock_, F_WRLCK, wait)) {
            return error;
        }
        bool is_removed = false;
        if (const int error = find_out_whether_removed(is_removed)) {
            unlock();
            return error;
        }
        if (!is_removed) {
            return 0;
        }
        // Somebody has removed the file: its lock keeps nobody out who comes later.
        lock_.close();
    }
}

void SharedState::unlock() {
    set_lock(lock_, F_UNLCK);
}

void SharedState::begin_change() {
    page_.load(std::memory_order_relaxed)->changes.fetch_add(1, std::memory_order_release);
    std::atomic_thread_fence(std::memory_order_seq_cst);  // before anything of the change
}

void SharedState::end_change() {
    page_.load(std::memory_order_relaxed)->changes.fetch_add(1, std::memory_order_release);
}

void SharedState::forget_lock() {
    lock_.close();
}

}  // namespace zelva::file
