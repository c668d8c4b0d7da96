// Files without a store around them.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "work.h"

namespace bench {

/// Brings the names of files in a folder to the disk.
inline void flush_folder(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(descriptor >= 0 && fsync(descriptor) == 0 && close(descriptor) == 0, "fsync of a folder");
}

/// A file of lines that are already on the disk, to be overwritten: what no store can do without.
class BareLines {
  public:
    static constexpr std::size_t line_size = 64;  // no line lies in two sectors
    static constexpr std::size_t count = 1000;

    explicit BareLines(const std::string& path)
        : file_(open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644)) {
        require(file_ >= 0, "open");
        const std::string lines(count * line_size, '\n');
        require(::write(file_, lines.data(), lines.size()) == static_cast<ssize_t>(lines.size()), "write");
        require(fsync(file_) == 0, "fsync");
    }
    ~BareLines() { close(file_); }
    BareLines(const BareLines&) = delete;
    BareLines& operator=(const BareLines&) = delete;

    /// Lines whose numbers are a multiple of `count` apart share a place.
    void write(std::size_t number, std::string_view line) {
        require(line.size() < line_size, "a line is too long");
        const off_t offset = static_cast<off_t>(number % count * line_size);
        require(pwrite(file_, line.data(), line.size(), offset) == static_cast<ssize_t>(line.size()), "pwrite");
    }

    void flush() { require(fdatasync(file_) == 0, "fdatasync"); }

  private:
    const int file_;
};

}  // namespace bench
