#include "volume.h"

#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace power {

namespace {

constexpr std::size_t mebibyte = 1 << 20;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

bool is_in_kernel(const std::string& name) {
    const auto is_listed = [&] {
        std::ifstream list("/proc/filesystems");
        for (std::string word; list >> word;) {
            if (word == name) {
                return true;
            }
        }
        return false;
    };
    return is_listed() || (std::system(("modprobe -q " + name).c_str()) == 0 && is_listed());
}

}  // namespace

Disk::Disk(std::size_t size) : size_(size), descriptor_(memfd_create("disk", MFD_CLOEXEC)) {
    if (descriptor_ < 0 || ftruncate(descriptor_, static_cast<off_t>(size)) != 0) {
        fail("memory for a disk");
    }
    void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
    if (memory == MAP_FAILED) {
        fail("memory for a disk");
    }
    data_ = static_cast<char*>(memory);
}

Disk::Disk(Disk&& other) noexcept
    : size_(other.size_),
      descriptor_(std::exchange(other.descriptor_, -1)),
      data_(std::exchange(other.data_, nullptr)) {}

Disk::~Disk() {
    if (data_ != nullptr) {
        munmap(data_, size_);
        close(descriptor_);
    }
}

Loop::Loop(int file, bool is_direct) {
    const int control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    if (control < 0) {
        fail("/dev/loop-control");
    }
    // Another program may take the free one first.
    do {
        const int number = ioctl(control, LOOP_CTL_GET_FREE);
        path_ = "/dev/loop" + std::to_string(number);
        descriptor_ = number < 0 ? -1 : open(path_.c_str(), O_RDWR | O_CLOEXEC);
        if (descriptor_ < 0) {
            const int error = errno;
            close(control);
            errno = error;
            fail("a free loop device");
        }
        loop_config configuration{};
        configuration.fd = static_cast<__u32>(file);
        configuration.info.lo_flags = LO_FLAGS_AUTOCLEAR | (is_direct ? LO_FLAGS_DIRECT_IO : 0);
        if (ioctl(descriptor_, LOOP_CONFIGURE, &configuration) != 0) {
            close(std::exchange(descriptor_, -1));
        }
    } while (descriptor_ < 0 && errno == EBUSY);
    close(control);
    if (descriptor_ < 0) {
        fail(path_);
    }
}

Loop::~Loop() {
    close(descriptor_);
}

void Loop::set_failing(bool is_failing) {
    constexpr std::size_t smallest_size = 512;
    loop_info64 info{};
    int result = ioctl(descriptor_, LOOP_GET_STATUS64, &info);
    info.lo_sizelimit = is_failing ? smallest_size : 0;
    result = result == 0 ? ioctl(descriptor_, LOOP_SET_STATUS64, &info) : result;
    if (result != 0) {
        fail(path_);
    }
}

const FileSystem* find_file_system(const std::string& name) {
    // Nothing is discarded, since what a disk holds after that is not known, nor is anything written after the mount
    // that need not be.
    static const std::vector<FileSystem> all{
        {"ext4",
         16 * mebibyte,
         "mkfs.ext4 -q -E nodiscard,lazy_itable_init=0,lazy_journal_init=0",
         {"-b 4096", "-b 1024"},
         "",
         {{1024, 2048}}},
        {"btrfs",
         128 * mebibyte,
         "mkfs.btrfs -q --nodiscard",
         {""},
         "nodiscard",
         {{64 << 10, 68 << 10}, {64 * mebibyte, 64 * mebibyte + 4096}}},
    };
    for (const FileSystem& file_system : all) {
        if (file_system.name == name) {
            return &file_system;
        }
    }
    return nullptr;
}

std::string obstacle(const FileSystem& file_system) {
    if (geteuid() != 0) {
        return "needs root";
    }
    if (!is_in_kernel(file_system.name)) {
        return "the kernel has no " + file_system.name;
    }
    const std::string program = file_system.program.substr(0, file_system.program.find(' '));
    if (std::system(("command -v " + program + " >/dev/null").c_str()) != 0) {
        return "no " + program;
    }
    try {
        const Disk disk(file_system.disk_size);
        const Loop loop(disk.descriptor());
    } catch (const std::exception& error) {
        return std::string("no loop device: ") + error.what();
    }
    return {};
}

void make(const FileSystem& file_system, std::size_t variant, const std::string& device) {
    const std::string& options = file_system.options[variant % file_system.options.size()];
    const std::string command = file_system.program + " " + options + " " + device + " >/dev/null";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("failed: " + command);
    }
}

Mount::Mount(const FileSystem& file_system, const Loop& loop, std::string folder)
    : device_(loop.path()), folder_(std::move(folder)) {
    if (mount(device_.c_str(), folder_.c_str(), file_system.name.c_str(), 0, file_system.mount_options.c_str()) != 0) {
        fail("mount");
    }
}

Mount::~Mount() {
    if (umount2(folder_.c_str(), 0) != 0) {
        // Only this program sees the mount, so it is this program that still uses it.
        std::perror("umount");
        std::abort();
    }
    // btrfs would remember the disk, and refuse to mount what looks like an older state of it on another device.
    const int control = open("/dev/btrfs-control", O_RDWR | O_CLOEXEC);
    if (control >= 0) {
        btrfs_ioctl_vol_args arguments{};
        device_.copy(arguments.name, sizeof arguments.name - 1);
        ioctl(control, BTRFS_IOC_FORGET_DEV, &arguments);
        close(control);
    }
}

}  // namespace power
