#include "watched_system.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

#include "file/system.h"

namespace watched {

std::function<Fate(const Call&)> before_call;
std::optional<decltype(statfs::f_type)> file_system;
bool has_opened_inheritable = false;

namespace {

/// Asks, and makes the call with the bytes that it may read or write. `failure` is what it gives when it is to fail.
template <class Result, class Make>
Result call(const char* name, std::size_t size, Result failure, Make&& make) {
    const Fate fate = before_call ? before_call({name, size}) : Fate{};
    if (fate.error != 0) {
        errno = fate.error;
        return failure;
    }
    return make(std::min(size, fate.most));
}

/// Whether these bytes of an open file are the counter.
bool is_counter(int descriptor, std::size_t size, off_t offset) {
    if (size > sizeof(std::uint64_t) || offset >= off_t{sizeof(std::uint64_t)}) {
        return false;
    }
    std::array<char, 4096> path{};
    const ssize_t length =
        ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
    return length > 0 &&
           std::string_view(path.data(), static_cast<std::size_t>(length)).find("/.zelva/") != std::string_view::npos;
}

struct flock lock_of(off_t byte, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

template <class Make>
int call(const char* name, Make&& make) {
    return call(name, 0, -1, [&make](std::size_t) { return make(); });
}

}  // namespace

}  // namespace watched

namespace zelva::file::system {

using watched::call;

int open(const char* path, int flags, mode_t mode) {
    watched::has_opened_inheritable |= (flags & O_CLOEXEC) == 0;
    return call("open", [&] { return ::open(path, flags, mode); });
}
int close(int descriptor) {
    // Whatever close gives, the file is closed.
    if (watched::before_call) {
        watched::before_call({"close", 0});
    }
    return ::close(descriptor);
}
int stat(const char* path, struct stat* attributes) {
    return call("stat", [&] { return ::stat(path, attributes); });
}
int fstat(int descriptor, struct stat* attributes) {
    return call("fstat", [&] { return ::fstat(descriptor, attributes); });
}
int fstatfs(int descriptor, struct statfs* file_system) {
    return call("fstatfs", [&] {
        const int result = ::fstatfs(descriptor, file_system);
        file_system->f_type = watched::file_system.value_or(file_system->f_type);
        return result;
    });
}
int statx(const char* path, int flags, unsigned mask, struct statx* attributes) {
    return call("statx", [&] { return ::statx(AT_FDCWD, path, flags, mask, attributes); });
}
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    return call(watched::is_counter(descriptor, size, offset) ? "read_count" : "pread", size, ssize_t{-1},
                [&](std::size_t most) { return ::pread(descriptor, buffer, most, offset); });
}
ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    return call(watched::is_counter(descriptor, size, offset) ? "count" : "pwrite", size, ssize_t{-1},
                [&](std::size_t most) { return ::pwrite(descriptor, buffer, most, offset); });
}
int ftruncate(int descriptor, off_t size) {
    return call("ftruncate", [&] { return ::ftruncate(descriptor, size); });
}
int fsync(int descriptor) {
    return call("fsync", [&] { return ::fsync(descriptor); });
}
int fdatasync(int descriptor) {
    return call("fdatasync", [&] { return ::fdatasync(descriptor); });
}
int fchmod(int descriptor, mode_t mode) {
    return call("fchmod", [&] { return ::fchmod(descriptor, mode); });
}
int fchown(int descriptor, uid_t user, gid_t group) {
    return call("fchown", [&] { return ::fchown(descriptor, user, group); });
}
ssize_t flistxattr(int descriptor, char* names, std::size_t size) {
    return call("flistxattr", 0, ssize_t{-1}, [&](std::size_t) { return ::flistxattr(descriptor, names, size); });
}
ssize_t fgetxattr(int descriptor, const char* name, void* value, std::size_t size) {
    return call("fgetxattr", 0, ssize_t{-1}, [&](std::size_t) { return ::fgetxattr(descriptor, name, value, size); });
}
int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size, int flags) {
    return call("fsetxattr", [&] { return ::fsetxattr(descriptor, name, value, size, flags); });
}
int fremovexattr(int descriptor, const char* name) {
    return call("fremovexattr", [&] { return ::fremovexattr(descriptor, name); });
}
int chmod(const char* path, mode_t mode) {
    return call("chmod", [&] { return ::chmod(path, mode); });
}
int mkdir(const char* path, mode_t mode) {
    return call("mkdir", [&] { return ::mkdir(path, mode); });
}
int renameat2(const char* from, const char* to, unsigned flags) {
    return call("renameat2", [&] { return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, flags); });
}
int unlink(const char* path) {
    return call("unlink", [&] { return ::unlink(path); });
}
ssize_t readlink(const char* path, char* target, std::size_t size) {
    return call("readlink", 0, ssize_t{-1}, [&](std::size_t) { return ::readlink(path, target, size); });
}
int access(const char* path, int mode) {
    return call("access", [&] { return faccessat(AT_FDCWD, path, mode, AT_EACCESS); });
}
int lock(int descriptor, off_t byte, short type, bool wait) {
    struct flock lock = watched::lock_of(byte, type);
    return call("lock", [&] { return fcntl(descriptor, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock); });
}
int find_lock(int descriptor, off_t byte, short& type) {
    return call("find_lock", [&] {
        struct flock lock = watched::lock_of(byte, type);
        const int result = fcntl(descriptor, F_OFD_GETLK, &lock);
        type = lock.l_type;
        return result;
    });
}
void* map(int descriptor, std::size_t size, int protection) {
    return call("map", 0, static_cast<void*>(nullptr), [&](std::size_t) {
        void* const memory = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
        return memory == MAP_FAILED ? nullptr : memory;
    });
}
int unmap(void* memory, std::size_t size) {
    // Also where it is refused: a program that goes on being refused would come to have thousands of mappings.
    const int result = munmap(memory, size);
    return call("unmap", [result] { return result; });
}

}  // namespace zelva::file::system
