// A disk that remembers in which order it was written and flushed.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace power {

/// A write to the disk, or a flush of it.
struct Event {
    std::size_t progress;  // of the work, when the disk was asked for this
    bool is_flush;
    std::size_t offset;
    std::string bytes;
};

/// In the order in which the disk did it. Each flush covers all writes before it.
using Recording = std::vector<Event>;

/// Runs in a process of its own. Tells through `progress` how far it has come. Throws when it fails.
using Work = std::function<void(const std::string& disk, std::atomic<std::size_t>& progress)>;

/// Mounts a file system on the folder that shows the disk as one file (FUSE), gives this file to the work, and records
/// what the work, or the loop device that it attaches, does to it. Throws std::runtime_error when the work fails.
Recording record(const std::string& folder, std::size_t disk_size, const Work& work);

}  // namespace power
