#include "file/descriptor.h"

#include <fcntl.h>

#include <cerrno>
#include <climits>

namespace zelva::file {

Error sync_folder(const std::string& path) {
    const Descriptor folder(system::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.is_open()) {
        return last_error("open");
    }
    return system::fsync(folder.number()) == 0 || errno == EINVAL ? Error() : last_error("fsync");
}

Error read_all(const Descriptor& file, std::string& out) {
    constexpr std::size_t step = 65536;
    constexpr std::size_t most = INT_MAX;
    struct stat attributes {};
    if (system::fstat(file.number(), &attributes) != 0) {
        return last_error("fstat");
    }
    // Room for one byte more than there should be, to find the end of the file with.
    std::size_t room = static_cast<std::size_t>(attributes.st_size) + 1;
    for (std::size_t size = 0;;) {
        if (size == out.size()) {
            if (room > most) {
                return error_of("read", EFBIG);
            }
            out.resize(room);
            room += step;
        }
        const ssize_t count = system::pread(file.number(), &out[size], out.size() - size, static_cast<off_t>(size));
        if (count == 0) {
            out.resize(size);
            return {};
        }
        if (count < 0 && errno != EINTR) {
            return last_error("pread");
        }
        size += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

Error read_at(const Descriptor& file, std::size_t offset, char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = system::pread(file.number(), bytes, size, static_cast<off_t>(offset));
        if (count == 0) {
            return error_of("pread", ESTALE);
        }
        if (count < 0 && errno != EINTR) {
            return last_error("pread");
        }
        const std::size_t done = count > 0 ? static_cast<std::size_t>(count) : 0;
        offset += done;
        bytes += done;
        size -= done;
    }
    return {};
}

Error write_at(const Descriptor& file, std::size_t offset, std::string_view text, std::size_t& written) {
    written = 0;
    while (written < text.size()) {
        const ssize_t count = system::pwrite(file.number(), text.data() + written, text.size() - written,
                                             static_cast<off_t>(offset + written));
        if (count == 0) {
            return error_of("pwrite", EIO);
        }
        if (count < 0 && errno != EINTR) {
            return last_error("pwrite");
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return {};
}

}  // namespace zelva::file
