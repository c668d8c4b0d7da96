#include "file/system.h"

#include <cerrno>

namespace zelva::file {

zelva_core_status status_of(int error) {
    return error == ENOMEM ? ZELVA_CORE_STATUS_ALLOC_FAILED : ZELVA_CORE_STATUS_IO_FAILED;
}

int sync_folder(int descriptor) {
    return fsync(descriptor) == 0 || errno == EINVAL ? 0 : errno;
}

int read_all(int descriptor, std::string& out) {
    constexpr std::size_t step = 65536;
    for (;;) {
        const std::size_t size = out.size();
        out.resize(size + step);
        const ssize_t count = read(descriptor, &out[size], step);
        out.resize(size + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count == 0) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
    }
}

int write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

}  // namespace zelva::file
