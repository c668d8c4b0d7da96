#include "file/system.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace zelva::file::system {

namespace {

struct flock lock_of(off_t byte, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

}  // namespace

int open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}
int close(int descriptor) {
    return ::close(descriptor);
}
int stat(const char* path, struct stat* attributes) {
    return ::stat(path, attributes);
}
int fstat(int descriptor, struct stat* attributes) {
    return ::fstat(descriptor, attributes);
}
int fstatfs(int descriptor, struct statfs* file_system) {
    return ::fstatfs(descriptor, file_system);
}
int statx(const char* path, int flags, unsigned mask, struct statx* attributes) {
    return ::statx(AT_FDCWD, path, flags, mask, attributes);
}
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    return ::pread(descriptor, buffer, size, offset);
}
ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    return ::pwrite(descriptor, buffer, size, offset);
}
int ftruncate(int descriptor, off_t size) {
    return ::ftruncate(descriptor, size);
}
int fsync(int descriptor) {
    return ::fsync(descriptor);
}
int fdatasync(int descriptor) {
    return ::fdatasync(descriptor);
}
int fchmod(int descriptor, mode_t mode) {
    return ::fchmod(descriptor, mode);
}
int fchown(int descriptor, uid_t user, gid_t group) {
    return ::fchown(descriptor, user, group);
}
ssize_t flistxattr(int descriptor, char* names, std::size_t size) {
    return ::flistxattr(descriptor, names, size);
}
ssize_t fgetxattr(int descriptor, const char* name, void* value, std::size_t size) {
    return ::fgetxattr(descriptor, name, value, size);
}
int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size, int flags) {
    return ::fsetxattr(descriptor, name, value, size, flags);
}
int fremovexattr(int descriptor, const char* name) {
    return ::fremovexattr(descriptor, name);
}
int chmod(const char* path, mode_t mode) {
    return ::chmod(path, mode);
}
int mkdir(const char* path, mode_t mode) {
    return ::mkdir(path, mode);
}
int renameat2(const char* from, const char* to, unsigned flags) {
    return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, flags);
}
int unlink(const char* path) {
    return ::unlink(path);
}
ssize_t readlink(const char* path, char* target, std::size_t size) {
    return ::readlink(path, target, size);
}
int access(const char* path, int mode) {
    return faccessat(AT_FDCWD, path, mode, AT_EACCESS);
}
int lock(int descriptor, off_t byte, short type, bool wait) {
    struct flock lock = lock_of(byte, type);
    return fcntl(descriptor, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock);
}
int find_lock(int descriptor, off_t byte, short& type) {
    struct flock lock = lock_of(byte, type);
    const int result = fcntl(descriptor, F_OFD_GETLK, &lock);
    type = lock.l_type;
    return result;
}
void* map(int descriptor, std::size_t size, int protection) {
    void* const memory = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}
int unmap(void* memory, std::size_t size) {
    return munmap(memory, size);
}

}  // namespace zelva::file::system
