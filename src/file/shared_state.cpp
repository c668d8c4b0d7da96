#include "file/shared_state.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "file/system.h"

namespace zelva::file {

namespace {

constexpr mode_t new_file_mode = S_IRUSR | S_IWUSR;
constexpr off_t file_size = 4096;
constexpr int open_flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

/// Takes or releases the lock of an open file. The lock belongs to the open file, not to the process as older POSIX
/// locks do, so that it holds between threads, and is not lost when the process closes another descriptor of the same
/// file.
int set_lock(int descriptor, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    while (fcntl(descriptor, F_OFD_SETLKW, &lock) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace

SharedState::~SharedState() {
    for (Page* page : pages_) {
        munmap(page, file_size);
    }
    forget_lock();
}

int SharedState::open() {
    forget_lock();
    descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | open_flags, new_file_mode);
    if (descriptor_ < 0) {
        return errno == EACCES || errno == EROFS ? map(O_RDONLY) : errno;
    }
    const int error = map(O_RDWR);
    if (error != 0) {
        forget_lock();  // no lock without a counter
    }
    return error;
}

int SharedState::map(int access) {
    // Not the descriptor of the lock: a mapping keeps the open file alive that it was made from, and with it its lock,
    // in a forked child too.
    const Descriptor file(::open(path_.c_str(), access | open_flags));
    struct stat attributes {};
    if (!file.is_open() || fstat(file.number(), &attributes) != 0) {
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
        if (ftruncate(file.number(), file_size) != 0) {
            return errno;
        }
    }
    pages_.reserve(pages_.size() + 1);
    const int protection = access == O_RDWR ? PROT_READ | PROT_WRITE : PROT_READ;
    void* const memory = mmap(nullptr, file_size, protection, MAP_SHARED, file.number(), 0);
    if (memory == MAP_FAILED) {
        return errno;
    }
    pages_.push_back(static_cast<Page*>(memory));
    page_.store(pages_.back(), std::memory_order_release);
    return 0;
}

int SharedState::find_out_whether_replaced(bool& is_replaced) const {
    struct stat opened {};
    struct stat found {};
    if (fstat(descriptor_, &opened) != 0) {
        return errno;
    }
    const bool is_there = stat(path_.c_str(), &found) == 0;
    is_replaced = !is_there || opened.st_ino != found.st_ino || opened.st_dev != found.st_dev;
    return 0;
}

int SharedState::lock() {
    for (;;) {
        if (descriptor_ < 0) {
            if (const int error = open()) {
                return error;
            }
        }
        if (descriptor_ < 0) {
            return EACCES;
        }
        if (const int error = set_lock(descriptor_, F_WRLCK)) {
            return error;
        }
        bool is_replaced = false;
        if (const int error = find_out_whether_replaced(is_replaced)) {
            unlock();
            return error;
        }
        if (!is_replaced) {
            return 0;
        }
        // Somebody has removed the file: its lock keeps nobody out who comes later.
        forget_lock();
    }
}

void SharedState::unlock() {
    set_lock(descriptor_, F_UNLCK);
}

void SharedState::begin_change() {
    std::atomic<std::uint64_t>& changes = page_.load(std::memory_order_relaxed)->changes;
    const std::uint64_t before = changes.load(std::memory_order_relaxed);
    changes.store(before + 1 + before % 2, std::memory_order_release);
}

void SharedState::end_change() {
    page_.load(std::memory_order_relaxed)->changes.fetch_add(1, std::memory_order_release);
}

void SharedState::forget_lock() {
    if (const int descriptor = std::exchange(descriptor_, -1); descriptor >= 0) {
        close(descriptor);
    }
}

}  // namespace zelva::file
