// Open files: descriptors that close themselves, and whole reads and writes.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "file/error.h"
#include "file/system.h"

namespace zelva::file {

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

/// Flushes a folder's entries. No error on a file system that cannot do that.
Error sync_folder(const std::string& path);

/// Reads a file's content into `out`, which is empty. EFBIG for a file of 2 GiB or more.
Error read_all(const Descriptor& file, std::string& out);

/// Reads so many bytes. ESTALE when the file ends before.
Error read_at(const Descriptor& file, std::size_t offset, char* bytes, std::size_t size);

/// Writes all of `text`. On failure `written` of its bytes are in the file.
Error write_at(const Descriptor& file, std::size_t offset, std::string_view text, std::size_t& written);

}  // namespace zelva::file
