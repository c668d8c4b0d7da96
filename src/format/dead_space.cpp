#include "format/dead_space.h"

#include <algorithm>
#include <utility>

#include "format/layout.h"
#include "format/reader.h"

namespace zelva::format {

namespace {

/// Places the line in the part of one sector from `from` to `to`, if it fits.
std::optional<Patch> fitted(std::string_view file, std::size_t from, std::size_t to, std::string_view line) {
    // A dead line that comes from the sector before is ended, one that goes on behind begins with the mark again.
    const bool is_inside = from > 0 && file[from - 1] != '\n';
    const bool goes_on = file[to - 1] != '\n';
    if (to - from < line.size() + (is_inside ? 1U : 0U) + (goes_on ? 1U : 0U)) {
        return std::nullopt;
    }
    Patch patch{from, is_inside ? "\n" : "", from + (is_inside ? 1U : 0U)};
    patch.bytes += line;
    patch.bytes.resize(to - from, '\n');
    if (goes_on) {
        patch.bytes.back() = dead_mark;
    }
    return patch;
}

}  // namespace

std::optional<Patch> find_dead_space(std::string_view file, std::string_view line) {
    std::optional<Patch> found;
    std::size_t run = 0;  // where the dead and blank lines begin that end here
    Reader reader(file);
    for (Line old; !found && reader.next(old);) {
        const std::size_t end = old.place.offset + old.place.size;
        if (old.kind != Kind::blank && old.kind != Kind::dead) {
            run = end;
            continue;
        }
        // Within each sector that this line reaches, as much of the run as lies in it.
        for (std::size_t sector = old.place.offset / sector_size; sector * sector_size < end && !found; ++sector) {
            found = fitted(file, std::max(run, sector * sector_size), std::min(end, (sector + 1) * sector_size), line);
        }
    }
    return found;
}

std::size_t live_end(std::string_view file) {
    std::size_t end = 0;
    Reader reader(file);
    for (Line line; reader.next(line);) {
        if (line.kind != Kind::blank && line.kind != Kind::dead && line.kind != Kind::damaged) {
            end = line.place.offset + line.place.size;
        }
    }
    return end;
}

}  // namespace zelva::format
