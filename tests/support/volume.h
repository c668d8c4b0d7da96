// Disks in memory, loop devices, and the file systems on them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace power {

/// The content of a disk: zeros at first. Only what has been written takes memory.
class Disk {
  public:
    explicit Disk(std::size_t size);
    Disk(Disk&& other) noexcept;
    Disk& operator=(Disk&&) = delete;
    ~Disk();

    char* data() const { return data_; }
    std::size_t size() const { return size_; }

    /// It as a file.
    int descriptor() const { return descriptor_; }

  private:
    std::size_t size_;
    int descriptor_;
    char* data_;
};

/// A loop device. Detached when neither the object nor a mount holds it any longer.
class Loop {
  public:
    /// Attaches a free one to a file; with direct I/O, what it is asked for reaches the file, and what fails there
    /// fails. Throws std::system_error when there is none.
    explicit Loop(int file, bool is_direct = false);
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;
    ~Loop();

    const std::string& path() const { return path_; }

    /// The device as a file.
    int descriptor() const { return descriptor_; }

    /// Takes the device its content away, or gives it back. A file system on it would find the device itself smaller,
    /// one on a second device that is attached to this one (is_direct) finds that all reads and writes fail.
    void set_failing(bool is_failing);

  private:
    std::string path_;
    int descriptor_ = -1;
};

struct Range {
    std::size_t begin;
    std::size_t end;
};

struct FileSystem {
    std::string name;
    std::size_t disk_size;
    std::string program;               // that makes one
    std::vector<std::string> options;  // of that program, one string a variant
    std::string mount_options;

    /// What the file system writes as a whole and trusts to be whole, in bytes of the disk: it asks more of a disk than
    /// the store does.
    std::vector<Range> superblocks;
};

/// The file system of this name; nullptr when there is none.
const FileSystem* find_file_system(const std::string& name);

/// Why such a file system cannot be made and mounted on this machine; empty when it can.
std::string obstacle(const FileSystem& file_system);

/// Makes a file system on a device. Throws std::runtime_error when that fails.
void make(const FileSystem& file_system, std::size_t variant, const std::string& device);

/// A mounted file system.
class Mount {
  public:
    /// Throws std::system_error when the system refuses to mount it.
    Mount(const FileSystem& file_system, const Loop& loop, std::string folder);
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    ~Mount();

  private:
    const std::string device_;
    const std::string folder_;
};

}  // namespace power
