// Open files: descriptors that close themselves, whole reads and writes, and the one place that turns errno into a
// status.
#pragma once

#include <zelva/core.h>

#include <string>
#include <string_view>
#include <utility>

#include "file/system.h"

namespace zelva::file {

/// The status for a failed system call: ZELVA_CORE_STATUS_NO_ERROR for 0, ZELVA_CORE_STATUS_ALLOC_FAILED for want of
/// memory, otherwise ZELVA_CORE_STATUS_IO_FAILED.
zelva_core_status status_of(int error);

/// An open file, closed with its object; or none, with a negative number.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        other.close();
        return *this;
    }
    ~Descriptor() { close(); }

    bool is_open() const { return number_ >= 0; }
    int number() const { return number_; }

    void close() {
        if (is_open()) {
            system::close(std::exchange(number_, -1));
        }
    }

  private:
    int number_;
};

// These return 0, or the errno of what failed.

/// Brings a folder's entries to the disk. 0 also on a file system that cannot do that.
int sync_folder(const std::string& path);

/// Reads a file's content into `out`, which is empty. EFBIG for a file of 2 GiB or more.
int read_all(const Descriptor& file, std::string& out);

/// Reads so many bytes. ESTALE when the file ends before.
int read_at(const Descriptor& file, std::size_t offset, char* bytes, std::size_t size);

/// Writes all of `text`. On failure `written` of its bytes are in the file.
int write_at(const Descriptor& file, std::size_t offset, std::string_view text, std::size_t& written);

}  // namespace zelva::file
