// A disk in memory, and what a loss of power may leave of it. Linked in the place of the library's calls of the system
// (file/system.h), it keeps all files below the settings folder; time stands still between two calls.
//
// What has been written and not flushed is lost or kept, sector by sector, in any order; a file's size is any that it
// has had since, or any sector's end between those that it grew from and to, with NULs where nothing was kept; a
// folder's entries are those that it has had at one time since it was flushed.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace simulated {

/// A disk, and the memory of the system above it. A copy is what a killed process leaves.
class Disk {
  public:
    /// A disk with this text in the file of the store "test", if it is to have one. All of it is flushed.
    explicit Disk(const std::optional<std::string>& text = std::nullopt);

    /// The disk after a loss of power: the next one of all that there may be, or one at random. `choice` is empty at
    /// first, and again after the last one.
    Disk after_power_loss(std::vector<std::size_t>& choice) const;
    Disk after_power_loss(std::mt19937& random) const;

    /// How many disks a loss of power may leave, or a number above `most` if there are more.
    std::size_t count_losses(std::size_t most) const;

    /// The content of the store "test" as programs read it.
    std::string text() const;

    /// Names in the settings folder.
    std::vector<std::string> names() const;

    // As the functions of file/system.h, for an open file's number.
    using Number = std::uint64_t;
    struct File {
        std::string text;
        std::vector<std::size_t> sizes;                           // since the last flush; at least one
        std::map<std::size_t, std::vector<std::string>> sectors;  // what they have held since, if they have changed
        std::uint64_t modified = 0;
        std::uint64_t changed = 0;  // the file, or what is known about it
        unsigned mode = 0600;
        std::uint64_t device = 1;
    };
    using Names = std::map<std::string, Number>;

    /// How many names lead to a file.
    std::size_t count_names(Number file) const;

    void write(Number file, std::size_t offset, const std::string& bytes);
    void resize(Number file, std::size_t size);
    void flush(Number file);
    Names& names_to_change(const std::string& folder);
    const Names& names_in(const std::string& folder) const;
    void flush_folder(const std::string& folder);
    Number create();

    /// How long a file can become, in bytes; shorter for a disk that is full. No new file finds room on such a one;
    /// what a file has, it keeps.
    std::size_t room = SIZE_MAX;

    /// Whether all changes have the same time, as those within a second have on some file systems.
    bool does_time_stand_still = false;

    std::map<Number, File> files;
    std::map<std::string, std::vector<Names>> folders;  // by path; each version since the last flush
    std::array<char, 4096> shared{};                    // the page that programs share, which no loss of power changes
    Number shared_file = 0;
    int shared_error = 0;  // the errno with which writes of that page fail

  private:
    /// One thing that a loss of power decides: which of how many.
    struct Decision {
        std::size_t options;
        std::function<void(Disk&, std::size_t)> apply;
    };
    std::vector<Decision> decisions() const;
    void note_sector(File& file, std::size_t sector);
};

/// The disk that the library uses.
extern Disk disk;

/// Called before each call that changes the disk or flushes.
extern std::function<void()> before_change;

}  // namespace simulated
