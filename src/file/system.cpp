#include "file/system.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/mman.h>
#include <unistd.h>

namespace zelva::file::system {

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
int lock(int descriptor, short type, bool wait) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return fcntl(descriptor, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock);
}
void* map(int descriptor, std::size_t size, int protection) {
    void* const memory = mmap(nullptr, size, protection, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}
int unmap(void* memory, std::size_t size) {
    return munmap(memory, size);
}

}  // namespace zelva::file::system
