#include "file/layout.h"

#include <algorithm>
#include <set>
#include <unordered_set>

#include "file/lines.h"
#include "value/text.h"

namespace zelva::file {

std::uint32_t hash_of_name(std::string_view name) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

std::optional<std::string_view> name_in(std::string_view line) {
    const std::size_t end = line.find('=');
    return end == std::string_view::npos ? std::nullopt : std::optional(value::trimmed(line.substr(0, end)));
}

std::string lines_of(const Change* begin, const Change* end) {
    std::string text;
    for (const Change* change = begin; change != end; ++change) {
        write_line(change->key, *change->value, text);
    }
    return text;
}

namespace {

/// A line of a text that is being compacted.
struct Kept {
    static constexpr std::size_t nothing = SIZE_MAX;

    std::string_view text;
    std::string_view name;  // empty for what is no entry
    std::size_t offset = 0;
    std::size_t shown = nothing;  // which line is to stand in its place
};

/// Withdrawn lines by what is left of their names, and by their order.
using Homes = std::set<std::pair<std::string_view, std::size_t>>;

/// How many of a run of blank lines, which ends at `end`, a person has written.
std::size_t blanks_to_keep(std::size_t begin, std::size_t end, std::size_t arranged_end) {
    if (arranged_end != 0) {
        return begin < arranged_end ? std::min(end - begin, most_blanks) : 0;
    }
    // A line that does not fit into a sector begins the next one, or follows the line feed that does.
    const bool is_gap = end % sector_size <= 1;
    return is_gap ? 0 : std::min(end - begin, most_blanks);
}

std::vector<Kept> lines_to_keep(std::string_view text, std::size_t arranged_end, Homes& homes) {
    std::vector<Kept> lines;
    std::size_t blank = 0;  // where a run of blank lines begins
    for_each_line(text, [&](std::string_view line, Line place) {
        if (line.empty()) {
            return;
        }
        const std::size_t blanks = blanks_to_keep(blank, place.offset, arranged_end);
        blank = place.offset + place.size;
        for (std::size_t i = 0; i < blanks; ++i) {
            lines.push_back({"", "", place.offset, lines.size()});
        }
        if (is_damage(line)) {
            return;
        }
        if (is_withdrawn(line)) {
            const std::size_t end = line.find(withdrawn_mark, 1);
            if (end != std::string_view::npos && (arranged_end == 0 || place.offset < arranged_end)) {
                homes.emplace(value::without_trailing_blanks(line.substr(1, end - 1)), lines.size());
                lines.push_back({line, "", place.offset});
            }
            return;
        }
        const auto entry = read_line(line);
        lines.push_back({line, entry ? entry->key : std::string_view(), place.offset, lines.size()});
    });
    return lines;
}

/// Leaves only the last line of each name.
void drop_replaced(std::vector<Kept>& lines, Homes& homes, std::size_t arranged_end) {
    std::unordered_set<std::string_view> names;
    for (std::size_t i = lines.size(); i-- > 0;) {
        Kept& line = lines[i];
        if (!line.name.empty() && !names.insert(line.name).second) {
            if (arranged_end == 0 || line.offset < arranged_end) {
                homes.emplace(line.name.substr(1), i);
            }
            line.shown = Kept::nothing;
            line.name = {};
        }
    }
}

/// Takes the entries that have been written behind `arranged_end` back to where their withdrawn lines stand.
void arrange(std::vector<Kept>& lines, Homes& homes, std::size_t arranged_end) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Kept& line = lines[i];
        if (line.name.empty() || line.offset < arranged_end) {
            continue;
        }
        // Where names differ in their first bytes alone, each takes the first home that is left.
        const std::string_view rest = line.name.substr(1);
        const auto home = homes.lower_bound({rest, 0});
        if (home != homes.end() && home->first == rest && home->second < i) {
            lines[home->second].shown = i;
            line.shown = Kept::nothing;
            homes.erase(home);
        }
    }
}

}  // namespace

Compacted compacted(std::string_view text, std::size_t arranged_end, const std::vector<Change>& changes) {
    Homes homes;
    std::vector<Kept> lines = lines_to_keep(text, arranged_end, homes);
    drop_replaced(lines, homes, arranged_end);
    arrange(lines, homes, arranged_end);

    Compacted result;
    result.text.reserve(rounded_up(text.size() + page_size, page_size));
    const auto end_line = [&result](std::string_view key, std::size_t begin) {
        const auto size = static_cast<std::uint32_t>(result.text.size() - begin);
        result.lines.emplace_back(key, Line{static_cast<std::uint32_t>(begin), size});
    };
    const auto write_change = [&result, &end_line](const Change& change) {
        if (change.value) {
            const std::size_t begin = result.text.size();
            write_line(change.key, *change.value, result.text);
            end_line(change.key, begin);
        }
    };
    std::vector<bool> has_place(changes.size());
    std::size_t end = 0;  // of the last line that is not blank
    for (const Kept& place : lines) {
        if (place.shown == Kept::nothing) {
            continue;
        }
        const Kept& line = lines[place.shown];
        const auto change = std::find_if(changes.begin(), changes.end(),
                                         [&line](const Change& candidate) { return candidate.key == line.name; });
        const std::size_t begin = result.text.size();
        if (line.text.empty()) {
            result.text.append(begin - end < most_blanks ? 1 : 0, '\n');
            continue;
        }
        if (change != changes.end() && !line.name.empty()) {
            has_place[static_cast<std::size_t>(change - changes.begin())] = true;
            write_change(*change);
        } else {
            result.text += line.text;
            result.text += '\n';
            if (!line.name.empty()) {
                end_line(line.name, begin);
            }
        }
        if (result.text.size() > begin) {
            result.layout.dead += begin - end;
            end = result.text.size();
        }
    }
    result.text.resize(end);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (!has_place[i]) {
            write_change(changes[i]);
        }
    }
    result.layout.size = result.text.size();
    result.layout.text_end = result.text.size();
    result.layout.arranged_end = result.text.size();
    result.layout.live = result.layout.text_end - result.layout.dead;
    return result;
}

std::size_t live_end(std::string_view file) {
    std::size_t end = 0;
    for_each_line(file, [&end](std::string_view line, Line place) {
        if (!line.empty() && !is_withdrawn(line) && !is_damage(line)) {
            end = place.offset + place.size;
        }
    });
    return end;
}

std::optional<Patch> fitted_into_withdrawn(std::string_view file, std::string_view text) {
    std::optional<Patch> found;
    std::size_t run = 0;  // where the withdrawn and blank lines begin that end here
    for_each_line(file, [&](std::string_view line, Line place) {
        const std::size_t end = place.offset + place.size;
        if (!line.empty() && !is_withdrawn(line)) {
            run = end;
            return;
        }
        // Within each sector that this line reaches, as much of the run as lies in it.
        for (std::size_t sector = place.offset / sector_size; sector * sector_size < end && !found; ++sector) {
            const std::size_t from = std::max(run, sector * sector_size);
            const std::size_t to = std::min(end, (sector + 1) * sector_size);
            // A line that comes from the sector before is ended, one that goes on behind begins with the mark again.
            const bool is_inside = from > 0 && file[from - 1] != '\n';
            const bool goes_on = file[to - 1] != '\n';
            if (to - from >= text.size() + (is_inside ? 1U : 0U) + (goes_on ? 1U : 0U)) {
                Patch patch{from, is_inside ? "\n" : "", from + (is_inside ? 1U : 0U)};
                patch.bytes += text;
                patch.bytes.resize(to - from, '\n');
                if (goes_on) {
                    patch.bytes.back() = withdrawn_mark;
                }
                found = std::move(patch);
            }
        }
    });
    return found;
}

}  // namespace zelva::file
