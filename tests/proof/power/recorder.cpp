#include "recorder.h"

#define FUSE_USE_VERSION 35
#include <fuse.h>
#include <fuse_lowlevel.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>

#include "volume.h"

namespace power {

namespace {

constexpr const char* disk_name = "/disk";

struct Recorder {
    Disk disk;
    std::atomic<std::size_t>& progress;
    Recording recording;
};

Recorder& recorder() {
    return *static_cast<Recorder*>(fuse_get_context()->private_data);
}

int get_attributes(const char* path, struct stat* attributes, fuse_file_info*) {
    *attributes = {};
    if (std::strcmp(path, "/") == 0) {
        attributes->st_mode = S_IFDIR | S_IRWXU;
        attributes->st_nlink = 2;
        return 0;
    }
    if (std::strcmp(path, disk_name) == 0) {
        attributes->st_mode = S_IFREG | S_IRUSR | S_IWUSR;
        attributes->st_nlink = 1;
        attributes->st_size = static_cast<off_t>(recorder().disk.size());
        return 0;
    }
    return -ENOENT;
}

/// How much of a read or write lies on the disk.
std::size_t size_on_disk(std::size_t size, off_t offset) {
    const std::size_t end = recorder().disk.size();
    return std::min(size, end - std::min(end, static_cast<std::size_t>(offset)));
}

int read(const char*, char* buffer, std::size_t size, off_t offset, fuse_file_info*) {
    size = size_on_disk(size, offset);
    std::memcpy(buffer, recorder().disk.data() + offset, size);
    return static_cast<int>(size);
}

int write(const char*, const char* buffer, std::size_t size, off_t offset, fuse_file_info*) {
    if (size_on_disk(size, offset) < size) {
        return -ENOSPC;
    }
    std::memcpy(recorder().disk.data() + offset, buffer, size);
    recorder().recording.push_back(
        {recorder().progress, false, static_cast<std::size_t>(offset), std::string(buffer, size)});
    return static_cast<int>(size);
}

int flush(const char*, int, fuse_file_info*) {
    recorder().recording.push_back({recorder().progress, true, 0, {}});
    return 0;
}

/// A number that processes share.
std::atomic<std::size_t>& shared_number() {
    void* const memory =
        mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (memory) std::atomic<std::size_t>(0);
}

bool has_succeeded(pid_t child) {
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// The work, in a process that another one waits for, since nothing but the end of the file system ends the loop that
/// serves it: also if the work crashes.
pid_t start(const Work& work, const std::string& folder, fuse* file_system, std::atomic<std::size_t>& progress) {
    const pid_t supervisor = fork();
    if (supervisor != 0) {
        return supervisor;
    }
    // If the recorder is killed, that is to be the end of the file system: the work would wait for it forever.
    close(fuse_session_fd(fuse_get_session(file_system)));
    const pid_t worker = fork();
    if (worker == 0) {
        try {
            work(folder + disk_name, progress);
        } catch (const std::exception& error) {
            std::cout << "while recording: " << error.what() << std::endl;
            _exit(1);
        }
        _exit(0);
    }
    const bool is_done = has_succeeded(worker);
    umount2(folder.c_str(), MNT_FORCE | MNT_DETACH);
    _exit(is_done ? 0 : 1);
}

}  // namespace

Recording record(const std::string& folder, std::size_t disk_size, const Work& work) {
    Recorder recorder{Disk(disk_size), shared_number(), {}};
    fuse_operations operations{};
    operations.getattr = get_attributes;
    operations.read = read;
    operations.write = write;
    operations.fsync = flush;
    char name[] = "recorder";
    char* words[] = {name, nullptr};
    fuse_args arguments = FUSE_ARGS_INIT(1, words);
    fuse* const file_system = fuse_new(&arguments, &operations, sizeof operations, &recorder);
    if (file_system == nullptr || fuse_mount(file_system, folder.c_str()) != 0) {
        throw std::runtime_error("the recording disk cannot be mounted");
    }
    std::cout.flush();
    const pid_t supervisor = start(work, folder, file_system, recorder.progress);
    // One thread, so that there is one order of what it does.
    fuse_loop(file_system);
    fuse_unmount(file_system);
    fuse_destroy(file_system);
    const bool is_done = has_succeeded(supervisor);
    munmap(&recorder.progress, sizeof recorder.progress);
    if (!is_done) {
        throw std::runtime_error("the recording has failed");
    }
    return std::move(recorder.recording);
}

}  // namespace power
