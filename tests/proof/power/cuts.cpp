#include "cuts.h"

#include <algorithm>
#include <cstring>

namespace power {

namespace {

constexpr std::size_t sector_size = 512;
constexpr std::size_t block_size = 4096;

/// How many of the events before a position come up to and including the last flush.
std::size_t last_flush(const Recording& recording, std::size_t position) {
    while (position > 0 && !recording[position - 1].is_flush) {
        --position;
    }
    return position;
}

/// The position right before the next flush, or the end.
std::size_t next_flush(const Recording& recording, std::size_t position, std::size_t end) {
    while (position < end && !recording[position].is_flush) {
        ++position;
    }
    return position;
}

void copy(const Event& event, std::size_t begin, std::size_t end, Disk& disk) {
    std::memcpy(disk.data() + begin, event.bytes.data() + (begin - event.offset), end - begin);
}

/// Copies the sectors of a write that the power lets through; nearly all, nearly none or about half of them.
void copy_some(const Event& event, const std::vector<Range>& wholes, std::mt19937& random, Disk& disk) {
    const std::size_t end = event.offset + event.bytes.size();
    const auto likelihood = random() % 9;  // of 8
    for (std::size_t sector = event.offset; sector < end;) {
        std::size_t next = std::min(end, (sector / sector_size + 1) * sector_size);
        for (const Range& whole : wholes) {
            if (whole.begin <= sector && sector < whole.end) {
                next = std::min(end, whole.end);
            }
        }
        if (random() % 8 < likelihood) {
            copy(event, sector, next, disk);
        }
        sector = next;
    }
}

}  // namespace

std::vector<Cut> choose_cuts(const Recording& recording, std::size_t begin, std::size_t end, std::size_t count,
                             unsigned seed) {
    constexpr double golden_ratio = 0.6180339887498949;  // whose multiples, modulo 1, are spread evenly
    std::mt19937 random(seed);
    std::vector<Cut> cuts;
    std::set<std::size_t> positions;
    double place = 0;
    for (std::size_t number = 0; cuts.size() < count && number < 100 * count; ++number) {
        place += golden_ratio;
        place -= place < 1 ? 0 : 1;
        std::size_t position = begin + static_cast<std::size_t>(place * static_cast<double>(end - begin + 1));
        if (number % 3 != 0) {
            position = next_flush(recording, position, end);
            position = std::min(end, position + (number % 3 == 1 ? 0 : 1));
        }
        if (positions.insert(position).second) {
            cuts.push_back({position, Cut::Kept::all, 0});
            if (last_flush(recording, position) < position) {
                cuts.push_back({position, Cut::Kept::none, 0});
            }
        }
        if (last_flush(recording, position) < position) {
            cuts.push_back({position, Cut::Kept::some, static_cast<unsigned>(random())});
        }
    }
    cuts.resize(std::min(count, cuts.size()));
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const Cut& left, const Cut& right) { return left.position < right.position; });
    return cuts;
}

Replay::Replay(const Recording& recording, const FileSystem& file_system)
    : recording_(recording), file_system_(file_system), flushed_(file_system.disk_size) {}

Disk Replay::disk_after(const Cut& cut) {
    const std::size_t flush = last_flush(recording_, cut.position);
    for (; flushed_events_ < flush; ++flushed_events_) {
        const Event& event = recording_[flushed_events_];
        const std::size_t end = event.offset + event.bytes.size();
        copy(event, event.offset, end, flushed_);
        for (std::size_t block = event.offset / block_size; block * block_size < end; ++block) {
            written_.insert(block);
        }
    }
    Disk disk(flushed_.size());
    for (const std::size_t block : written_) {
        std::memcpy(disk.data() + block * block_size, flushed_.data() + block * block_size, block_size);
    }
    std::mt19937 random(cut.seed);
    for (std::size_t i = flush; i < cut.position && cut.kept != Cut::Kept::none; ++i) {
        const Event& event = recording_[i];
        if (cut.kept == Cut::Kept::all) {
            copy(event, event.offset, event.offset + event.bytes.size(), disk);
        } else {
            copy_some(event, file_system_.superblocks, random, disk);
        }
    }
    return disk;
}

}  // namespace power
