#include "file/shared_state.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <utility>

namespace zelva::file {

namespace {

constexpr off_t file_size = 4096;
constexpr int open_flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

/// The bytes of the file that are locked: by who changes the store's file, and, to be read, by all who have it open.
constexpr off_t lock_of_changes = 0;
constexpr off_t lock_of_presence = 1;

/// Takes or releases a lock of an open file. The lock belongs to the open file, not to the process as older POSIX
/// locks do, so that it holds between threads, and is not lost when the process closes another descriptor of the same
/// file.
int set_lock(const Descriptor& file, off_t byte, short type, bool wait = true) {
    while (system::lock(file.number(), byte, type, wait) != 0) {
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

/// Makes sure that the file has a page: to read a mapped one that it does not have would end the program. It is
/// written, so that a disk that gets full later has room for the counter.
Error make_page(const Descriptor& file) {
    // Others may be using the counter already.
    static std::array<char, file_size - sizeof(std::uint64_t)> rest{};  // not constant: zeros take no room then
    std::size_t written = 0;
    return write_at(file, sizeof(std::uint64_t), {rest.data(), rest.size()}, written);
}

/// Whether the file is on an overlay. There, one that can only be read may be that of the layer below, and its memory
/// does not change when a writer gets a copy of it. true where nobody knows.
bool is_on_overlay(const Descriptor& file) {
    struct statfs file_system {};
    return system::fstatfs(file.number(), &file_system) != 0 || file_system.f_type == OVERLAYFS_SUPER_MAGIC;
}

}  // namespace

SharedState::~SharedState() {
    for (void* page : pages_) {
        system::unmap(page, file_size);
    }
}

SharedState::ReadLock::ReadLock(const SharedState& state, bool wait)
    : file_(system::open(state.path_.c_str(), O_RDONLY | open_flags)) {
    if (file_.is_open()) {
        const int error = set_lock(file_, lock_of_changes, F_RDLCK, wait);
        is_refused_ = !wait && (error == EAGAIN || error == EACCES);
    }
}

Error SharedState::open() {
    Descriptor file = open_shared(path_);
    const bool is_writable = file.is_open();
    if (!is_writable) {
        const bool may_only_read = errno == EACCES || errno == EROFS;
        if (!may_only_read || file_.is_open()) {
            return may_only_read ? Error() : last_error("open");
        }
        file = Descriptor(system::open(path_.c_str(), O_RDONLY | open_flags));
    }
    struct stat attributes {};
    if (!file.is_open()) {
        return last_error("open");
    }
    if (system::fstat(file.number(), &attributes) != 0) {
        return last_error("fstat");
    }
    if (!S_ISREG(attributes.st_mode)) {
        return error_of("open", EINVAL);
    }
    if (attributes.st_size < file_size) {  // the file is new; who may only read it gets an error
        if (const Error error = make_page(file)) {
            return error;
        }
    }
    set_lock(file, lock_of_presence, F_RDLCK, false);  // nobody refuses that
    Error error;
    if (is_writable) {
        error = map(Descriptor(system::open(path_.c_str(), O_RDONLY | open_flags)));
    } else if (!is_on_overlay(file)) {
        error = map(file);
    }
    if (error) {
        return error;  // no lock without a counter
    }
    file_ = std::move(file);
    is_writable_ = is_writable;
    device_ = attributes.st_dev;
    inode_ = attributes.st_ino;
    return {};
}

Error SharedState::map(const Descriptor& file) {
    if (!file.is_open()) {
        return last_error("open");
    }
    pages_.reserve(pages_.size() + 1);
    // To read a page that somebody has cut off ends the program. A get that asked the system instead would take several
    // times as long.
    void* const memory = system::map(file.number(), file_size, PROT_READ);
    if (memory == nullptr) {
        return last_error("mmap");
    }
    pages_.push_back(memory);
    page_.store(static_cast<const Page*>(memory), std::memory_order_release);
    return {};
}

Error SharedState::look_at_name(bool& is_replaced, bool& is_whole) const {
    struct stat found {};
    if (system::stat(path_.c_str(), &found) == 0) {
        is_replaced = found.st_ino != inode_ || found.st_dev != device_;
        is_whole = found.st_size >= file_size;
        return {};
    }
    if (errno != ENOENT) {
        return last_error("stat");
    }
    // A file that still has a name is in a folder that has been moved away, and so are the settings.
    struct stat opened {};
    if (system::fstat(file_.number(), &opened) != 0) {
        return last_error("fstat");
    }
    is_replaced = opened.st_nlink == 0;
    return is_replaced ? Error() : error_of("stat", ESTALE);
}

Error SharedState::lock(bool wait) {
    // On a file system that gives a file another number each time this would have no end.
    constexpr int most_attempts = 100;
    for (int attempt = 0; attempt < most_attempts; ++attempt) {
        if (!file_.is_open() || !is_writable_) {
            if (const Error error = open()) {
                return error;
            }
        }
        if (!is_writable_) {
            return error_of("open", EACCES);
        }
        if (const int error = set_lock(file_, lock_of_changes, F_WRLCK, wait)) {
            return error_of("fcntl", error);
        }
        bool is_replaced = false;
        bool is_whole = true;
        if (const Error error = look_at_name(is_replaced, is_whole)) {
            unlock();
            return error;
        }
        if (!is_replaced) {
            Error error = read_counter(held_counter_);
            if (!error && (held_counter_ == 0 || !is_whole)) {
                error = begin_counting();
            }
            if (error) {
                unlock();
            }
            return error;
        }
        // Somebody has removed the file, or put another one in its place: its lock keeps nobody out who comes later.
        file_.close();
    }
    return error_of("stat", ESTALE);
}

void SharedState::unlock() {
    set_lock(file_, lock_of_changes, F_UNLCK);
}

bool SharedState::is_alone() const {
    short type = F_WRLCK;
    return system::find_lock(file_.number(), lock_of_presence, type) == 0 && type == F_UNLCK;
}

Error SharedState::begin_counting() {
    // The file may also have been cut off. From 0 again, the counter would come to numbers that others know.
    constexpr std::uint64_t odd = 1;
    const auto now = static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    Error error = make_page(file_);
    if (!error) {
        error = write_counter(now & ~odd);
    }
    held_counter_ = !error ? now & ~odd : 0;
    return error;
}

Error SharedState::write_counter(std::uint64_t counter) const {
    std::size_t written = 0;
    return write_at(file_, 0, {reinterpret_cast<const char*>(&counter), sizeof counter}, written);
}

Error SharedState::read_counter(std::uint64_t& counter) const {
    std::array<char, sizeof counter> bytes{};
    const Error error = read_at(file_, 0, bytes.data(), bytes.size());
    std::memcpy(&counter, bytes.data(), bytes.size());
    return error.number == ESTALE ? Error() : error;  // cut off to nothing
}

Error SharedState::count() {
    const std::uint64_t next = held_counter_ + 1;
    std::atomic_thread_fence(std::memory_order_seq_cst);  // after all of a change that it ends
    Error error = write_counter(next);
    std::atomic_thread_fence(std::memory_order_seq_cst);  // before anything of a change that it begins
    if (error) {
        // What others see is what holds.
        std::uint64_t counter = 0;
        error = !read_counter(counter) && counter == next ? Error() : error;
    }
    held_counter_ = !error ? next : held_counter_;
    return error;
}

void SharedState::forget_lock() {
    file_.close();
}

}  // namespace zelva::file
