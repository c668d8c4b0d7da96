// What the layer asks of the system's files. All of its calls that reach a disk, or another program, go through these
// functions, so that tests can link others in their place: ones that fail, that stop the process, or that keep the
// files of a simulated disk.
//
// Each does what the function of the C library of the same name does, errno included.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/vfs.h>

#include <cstddef>

namespace zelva::file::system {

int open(const char* path, int flags, mode_t mode = 0);
int close(int descriptor);
int stat(const char* path, struct stat* attributes);
int fstat(int descriptor, struct stat* attributes);
int fstatfs(int descriptor, struct statfs* file_system);
int statx(const char* path, int flags, unsigned mask, struct statx* attributes);
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset);
ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset);
int ftruncate(int descriptor, off_t size);
int fsync(int descriptor);
int fdatasync(int descriptor);
int fchmod(int descriptor, mode_t mode);
int fchown(int descriptor, uid_t user, gid_t group);
ssize_t flistxattr(int descriptor, char* names, std::size_t size);
ssize_t fgetxattr(int descriptor, const char* name, void* value, std::size_t size);
int fsetxattr(int descriptor, const char* name, const void* value, std::size_t size, int flags);
int fremovexattr(int descriptor, const char* name);
int chmod(const char* path, mode_t mode);
int mkdir(const char* path, mode_t mode);
int renameat2(const char* from, const char* to, unsigned flags);
int unlink(const char* path);
ssize_t readlink(const char* path, char* target, std::size_t size);

/// faccessat with AT_EACCESS: what the process may do now, as its file calls see it.
int access(const char* path, int mode);

/// fcntl for one byte, with F_OFD_SETLKW, or F_OFD_SETLK when it is not to wait. `type` is F_RDLCK, F_WRLCK or F_UNLCK.
int lock(int descriptor, off_t byte, short type, bool wait);

/// fcntl for one byte with F_OFD_GETLK: `type` becomes that of a lock which would keep this open file from one of that
/// type, or F_UNLCK.
int find_lock(int descriptor, off_t byte, short& type);

/// mmap of a file's beginning, shared with other programs, and munmap. nullptr for MAP_FAILED.
void* map(int descriptor, std::size_t size, int protection);
int unmap(void* memory, std::size_t size);

}  // namespace zelva::file::system
