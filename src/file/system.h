// The system's files: descriptors that close themselves, and the one place that turns errno into a status.
#pragma once

#include <unistd.h>
#include <zelva/core.h>

#include <string>
#include <string_view>

namespace zelva::file {

/// The status for a failed system call: ZELVA_CORE_STATUS_ALLOC_FAILED for want of memory, otherwise
/// ZELVA_CORE_STATUS_IO_FAILED.
zelva_core_status status_of(int error);

/// An open file, closed with its object.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (is_open()) {
            close(number_);
        }
    }

    bool is_open() const { return number_ >= 0; }
    int number() const { return number_; }

  private:
    const int number_;
};

/// Brings a folder's entries to the disk. 0, or the errno of what failed; 0 also on a file system that cannot do that.
int sync_folder(int descriptor);

/// Reads a file to its end. 0, or the errno of what failed.
int read_all(int descriptor, std::string& out);

/// Writes all of `text`. 0, or the errno of what failed.
int write_all(int descriptor, std::string_view text);

}  // namespace zelva::file
