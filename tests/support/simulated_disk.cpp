#include "simulated_disk.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>

#include "file/system.h"
#include "folder.h"

namespace simulated {

namespace {

constexpr std::size_t sector_size = 512;

/// Bytes of a text as a disk holds them: NULs behind its end.
std::string sector_of(const std::string& text, std::size_t sector) {
    std::string bytes = sector * sector_size < text.size() ? text.substr(sector * sector_size, sector_size) : "";
    bytes.resize(sector_size, '\0');
    return bytes;
}

struct Path {
    std::string folder;
    std::string name;

    explicit Path(const std::string& path)
        : folder(path.substr(0, path.rfind('/'))), name(path.substr(path.rfind('/') + 1)) {}
};

std::uint64_t now = 0;

/// What the next change is stamped with.
std::uint64_t time_of_change() {
    now += disk.does_time_stand_still ? 0 : 1;
    return now;
}

}  // namespace

Disk disk;
std::function<void()> before_change;

Disk::Disk(const std::optional<std::string>& text) {
    folders[Folder::path()] = {Names{}};
    shared_file = create();
    resize(shared_file, shared.size());
    flush(shared_file);
    folders[Folder::path() + "/.zelva"] = {Names{{"test", shared_file}}};
    if (text) {
        const Number file = create();
        write(file, 0, *text);
        flush(file);
        names_to_change(Folder::path())["test"] = file;
        flush_folder(Folder::path());
    }
}

Disk::Number Disk::create() {
    static Number last = 0;
    File file;
    file.sizes = {0};
    file.modified = file.changed = time_of_change();
    files.emplace(++last, std::move(file));
    return last;
}

const Disk::Names& Disk::names_in(const std::string& folder) const {
    return folders.at(folder).back();
}

Disk::Names& Disk::names_to_change(const std::string& folder) {
    std::vector<Names>& versions = folders.at(folder);
    versions.push_back(versions.back());
    return versions.back();
}

std::size_t Disk::count_names(Number file) const {
    std::size_t count = 0;
    for (const auto& [path, versions] : folders) {
        const Names& names = versions.back();
        count += static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(), [file](const auto& entry) { return entry.second == file; }));
    }
    return count;
}

void Disk::flush_folder(const std::string& folder) {
    std::vector<Names>& versions = folders.at(folder);
    versions.erase(versions.begin(), versions.end() - 1);
}

void Disk::note_sector(File& file, std::size_t sector) {
    std::vector<std::string>& versions = file.sectors[sector];
    std::string bytes = sector_of(file.text, sector);
    if (std::find(versions.begin(), versions.end(), bytes) == versions.end()) {
        versions.push_back(std::move(bytes));
    }
}

void Disk::write(Number number, std::size_t offset, const std::string& bytes) {
    File& file = files.at(number);
    const std::size_t first = offset / sector_size;
    const std::size_t end = (offset + bytes.size() + sector_size - 1) / sector_size;
    for (std::size_t sector = first; sector < end; ++sector) {
        note_sector(file, sector);
    }
    if (file.text.size() < offset + bytes.size()) {
        file.text.resize(offset + bytes.size(), '\0');
        file.sizes.push_back(file.text.size());
    }
    file.text.replace(offset, bytes.size(), bytes);
    for (std::size_t sector = first; sector < end; ++sector) {
        note_sector(file, sector);
    }
    file.modified = file.changed = time_of_change();
}

void Disk::resize(Number number, std::size_t size) {
    File& file = files.at(number);
    const std::size_t first = std::min(size, file.text.size()) / sector_size;
    const std::size_t end = (std::max(size, file.text.size()) + sector_size - 1) / sector_size;
    for (std::size_t sector = first; sector < end; ++sector) {
        note_sector(file, sector);
    }
    file.text.resize(size, '\0');
    for (std::size_t sector = first; sector < end; ++sector) {
        note_sector(file, sector);
    }
    file.sizes.push_back(size);
    file.modified = file.changed = time_of_change();
}

void Disk::flush(Number number) {
    File& file = files.at(number);
    file.sizes = {file.text.size()};
    file.sectors.clear();
}

std::vector<Disk::Decision> Disk::decisions() const {
    std::vector<Decision> all;
    for (const auto& [path, versions] : folders) {
        all.push_back({versions.size(), [path = path](Disk& left, std::size_t option) {
                           std::vector<Names>& names = left.folders.at(path);
                           names = {names[option]};
                       }});
    }
    for (const auto& [number, file] : files) {
        std::vector<std::size_t> sizes = file.sizes;
        for (std::size_t i = 1; i < file.sizes.size(); ++i) {
            // It grows step by step, and is cut at once.
            for (std::size_t size = file.sizes[i - 1] / sector_size * sector_size + sector_size; size < file.sizes[i];
                 size += sector_size) {
                sizes.push_back(size);
            }
        }
        std::sort(sizes.begin(), sizes.end());
        sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
        if (sizes.size() > 1) {
            all.push_back({sizes.size(), [number = number, sizes](Disk& left, std::size_t option) {
                               left.files.at(number).text.resize(sizes[option], '\0');
                           }});
        }
        for (const auto& held : file.sectors) {
            const std::size_t sector = held.first;
            const std::vector<std::string>& versions = held.second;
            if (versions.size() > 1) {
                all.push_back({versions.size(), [number = number, sector, &versions](Disk& left, std::size_t option) {
                                   std::string& text = left.files.at(number).text;
                                   const std::size_t offset = sector * sector_size;
                                   if (offset < text.size()) {
                                       const std::size_t size = std::min(sector_size, text.size() - offset);
                                       text.replace(offset, size, versions[option], 0, size);
                                   }
                               }});
            }
        }
    }
    return all;
}

std::size_t Disk::count_losses(std::size_t most) const {
    std::size_t count = 1;
    for (const Decision& decision : decisions()) {
        count *= decision.options;
        if (count > most) {
            return most + 1;
        }
    }
    return count;
}

namespace {

/// What is on the disk is all that there is.
void forget_history(Disk& left) {
    for (auto& [number, file] : left.files) {
        left.flush(number);
    }
}

}  // namespace

Disk Disk::after_power_loss(std::vector<std::size_t>& choice) const {
    const std::vector<Decision> all = decisions();
    choice.resize(all.size());
    Disk left = *this;
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].apply(left, choice[i]);
    }
    forget_history(left);
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (++choice[i] < all[i].options) {
            return left;
        }
        choice[i] = 0;
    }
    choice.clear();
    return left;
}

Disk Disk::after_power_loss(std::mt19937& random) const {
    Disk left = *this;
    // Each thing by itself, or mostly lost, or mostly kept.
    const auto bias = random() % 3;
    for (const Decision& decision : decisions()) {
        std::size_t option = random() % decision.options;
        if (bias != 0 && random() % 4 != 0) {
            option = bias == 1 ? 0 : decision.options - 1;
        }
        decision.apply(left, option);
    }
    forget_history(left);
    return left;
}

std::string Disk::text() const {
    const Names& names = names_in(Folder::path());
    const auto entry = names.find("test");
    return entry == names.end() ? "" : files.at(entry->second).text;
}

std::vector<std::string> Disk::names() const {
    std::vector<std::string> all;
    for (const auto& [name, file] : names_in(Folder::path())) {
        all.push_back(name);
    }
    return all;
}

namespace {

/// What the library has open: a file, or a folder.
struct Open {
    Disk::Number file = 0;
    std::string folder;
};
std::map<int, Open> opened;

constexpr int first_descriptor = 1 << 20;  // no real one is so high

int fail(int error) {
    errno = error;
    return -1;
}

void note_change() {
    if (before_change) {
        before_change();
    }
}

const Disk::Number* find(const Path& path) {
    if (disk.folders.count(path.folder) == 0) {
        return nullptr;
    }
    const Disk::Names& names = disk.names_in(path.folder);
    const auto entry = names.find(path.name);
    return entry == names.end() ? nullptr : &entry->second;
}

int describe(Disk::Number number, struct stat* attributes) {
    const Disk::File& file = disk.files.at(number);
    *attributes = {};
    attributes->st_dev = file.device;
    attributes->st_ino = number;
    attributes->st_nlink = disk.count_names(number);
    attributes->st_mode = S_IFREG | file.mode;
    attributes->st_size = static_cast<off_t>(file.text.size());
    attributes->st_mtim.tv_nsec = static_cast<long>(file.modified);
    attributes->st_ctim.tv_nsec = static_cast<long>(file.changed);
    return 0;
}

}  // namespace

}  // namespace simulated

namespace zelva::file::system {

using namespace simulated;

int open(const char* path, int flags, mode_t) {
    Open open;
    const Path where(path);
    std::string folder = path;
    if (folder.back() == '/') {
        folder.pop_back();
    }
    if (disk.folders.count(folder) != 0) {
        open.folder = folder;
    } else if (const Disk::Number* file = find(where)) {
        if ((flags & O_EXCL) != 0) {
            return fail(EEXIST);
        }
        open.file = *file;
    } else if ((flags & O_CREAT) == 0 || disk.folders.count(where.folder) == 0) {
        return fail(ENOENT);
    } else if (disk.room != SIZE_MAX) {
        return fail(ENOSPC);
    } else {
        note_change();
        open.file = disk.create();
        disk.names_to_change(where.folder)[where.name] = open.file;
    }
    int descriptor = first_descriptor;
    while (opened.count(descriptor) != 0) {
        ++descriptor;
    }
    opened[descriptor] = open;
    return descriptor;
}
int close(int descriptor) {
    return opened.erase(descriptor) == 1 ? 0 : fail(EBADF);
}
int stat(const char* path, struct stat* attributes) {
    std::string folder = path;
    if (folder.back() == '/') {
        folder.pop_back();
    }
    if (disk.folders.count(folder) != 0) {
        *attributes = {};
        attributes->st_mode = S_IFDIR | S_IRWXU;
        return 0;
    }
    const Disk::Number* file = find(Path(path));
    return file == nullptr ? fail(ENOENT) : describe(*file, attributes);
}
int fstat(int descriptor, struct stat* attributes) {
    return describe(opened.at(descriptor).file, attributes);
}
int fstatfs(int, struct statfs* file_system) {
    *file_system = {};
    return 0;
}
int statx(const char* path, int, unsigned, struct statx* attributes) {
    *attributes = {};
    return find(Path(path)) == nullptr ? fail(ENOENT) : 0;
}
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    const Disk::Number file = opened.at(descriptor).file;
    const std::string& content = disk.files.at(file).text;
    const bool is_shared = file == disk.shared_file;
    const std::string_view text = is_shared ? std::string_view(disk.shared.data(), disk.shared.size()) : content;
    const auto begin = static_cast<std::size_t>(offset);
    const std::size_t count = begin < text.size() ? std::min(size, text.size() - begin) : 0;
    std::memcpy(buffer, text.data() + begin, count);
    return static_cast<ssize_t>(count);
}
ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    const auto begin = static_cast<std::size_t>(offset);
    const Disk::Number file = opened.at(descriptor).file;
    if (file == disk.shared_file) {
        if (disk.shared_error != 0) {
            return fail(disk.shared_error);
        }
        std::memcpy(disk.shared.data() + begin, buffer, size);
        return static_cast<ssize_t>(size);
    }
    const std::size_t end = std::max(disk.room, disk.files.at(file).text.size());
    if (begin >= end) {
        return fail(ENOSPC);
    }
    note_change();
    size = std::min(size, end - begin);
    disk.write(file, begin, std::string(static_cast<const char*>(buffer), size));
    return static_cast<ssize_t>(size);
}
int ftruncate(int descriptor, off_t size) {
    note_change();
    disk.resize(opened.at(descriptor).file, static_cast<std::size_t>(size));
    return 0;
}
int fsync(int descriptor) {
    note_change();
    const Open& open = opened.at(descriptor);
    if (open.folder.empty()) {
        disk.flush(open.file);
    } else {
        disk.flush_folder(open.folder);
    }
    return 0;
}
int fdatasync(int descriptor) {
    return fsync(descriptor);
}
int fchmod(int, mode_t) {
    return 0;
}
int fchown(int, uid_t, gid_t) {
    return 0;
}
ssize_t flistxattr(int, char*, std::size_t) {
    return 0;
}
ssize_t fgetxattr(int, const char*, void*, std::size_t) {
    return fail(ENODATA);
}
int fsetxattr(int, const char*, const void*, std::size_t, int) {
    return fail(ENOTSUP);
}
int fremovexattr(int, const char*) {
    return fail(ENODATA);
}
int chmod(const char*, mode_t) {
    return 0;
}
int mkdir(const char*, mode_t) {
    return fail(EEXIST);
}
int renameat2(const char* from, const char* to, unsigned flags) {
    const Path source(from);
    const Path target(to);
    const Disk::Number* old = find(target);
    if ((flags == RENAME_EXCHANGE && old == nullptr) || (flags == RENAME_NOREPLACE && old != nullptr)) {
        return fail(old == nullptr ? ENOENT : EEXIST);
    }
    note_change();
    Disk::Names& names = disk.names_to_change(target.folder);
    std::swap(names[source.name], names[target.name]);
    if (flags != RENAME_EXCHANGE) {
        names.erase(source.name);
    }
    return 0;
}
int unlink(const char* path) {
    const Path where(path);
    if (find(where) == nullptr) {
        return fail(ENOENT);
    }
    note_change();
    disk.names_to_change(where.folder).erase(where.name);
    return 0;
}
ssize_t readlink(const char* path, char*, std::size_t) {
    return fail(find(Path(path)) == nullptr ? ENOENT : EINVAL);
}
int access(const char*, int) {
    return 0;
}
int lock(int, off_t, short, bool) {
    return 0;
}
int find_lock(int, off_t, short& type) {
    type = F_UNLCK;
    return 0;
}
void* map(int, std::size_t, int) {
    return disk.shared.data();
}
int unmap(void*, std::size_t) {
    return 0;
}

}  // namespace zelva::file::system
