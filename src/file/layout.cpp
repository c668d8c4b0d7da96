#include "file/layout.h"

#include <algorithm>

namespace zelva::file {

namespace {

/// Calls `use` with each line of a text, without its line feed, and with where it is.
template <class Use>
void for_each_line(std::string_view text, Use&& use) {
    for (std::size_t offset = 0; offset < text.size();) {
        // Padding has many empty lines.
        const std::size_t end = text[offset] == '\n' ? offset : std::min(text.find('\n', offset), text.size());
        const std::size_t next = std::min(end + 1, text.size());
        use(text.substr(offset, end - offset),
            Line{static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(next - offset)});
        offset = next;
    }
}

bool is_damage(std::string_view line) {
    return line.find('\0') != std::string_view::npos;
}

bool is_withdrawn(std::string_view line) {
    return !line.empty() && line[0] == withdrawn_mark && !is_damage(line);
}

}  // namespace

Layout read_layout(std::string_view text, const UseEntry& use) {
    Layout layout;
    layout.size = text.size();
    const bool has_damage = is_damage(text);
    for_each_line(text, [&](std::string_view line, Line place) {
        if (line.empty()) {
            return;
        }
        if (has_damage && is_damage(line)) {
            layout.is_damaged = true;
            return;
        }
        const std::size_t gap = place.offset - layout.text_end;
        layout.dead += gap;
        layout.text_end = place.offset + place.size;
        layout.is_damaged = false;
        layout.is_unterminated = line.size() == place.size;
        if (line[0] == withdrawn_mark) {
            layout.dead += place.size;
            return;
        }
        layout.live += place.size;
        if (auto entry = read_line(line)) {
            if (const auto earlier = use(*std::move(entry), place)) {
                layout.replaced.push_back(*earlier);
                layout.live -= earlier->size;
                layout.dead += earlier->size;
            }
        }
    });
    return layout;
}

std::string lines_of(const Change* begin, const Change* end) {
    std::string text;
    for (const Change* change = begin; change != end; ++change) {
        write_line(change->key, *change->value, text);
    }
    return text;
}

Compacted compacted(std::string_view text, const std::vector<Change>& changes) {
    struct Kept {
        std::string_view text;
        std::string_view key;  // empty for what is no entry
        const Change* change;
    };
    std::vector<Kept> lines;
    std::vector<bool> has_place(changes.size());
    for_each_line(text, [&](std::string_view line, Line) {
        const bool follows_blank = lines.empty() || lines.back().text.empty();
        if (is_withdrawn(line) || is_damage(line) || (line.empty() && follows_blank)) {
            return;
        }
        const auto entry = read_line(line);
        const Change* change = nullptr;
        for (std::size_t i = 0; entry && i < changes.size(); ++i) {
            if (changes[i].key == entry->key) {
                change = &changes[i];
                has_place[i] = true;
            }
        }
        lines.push_back({line, entry ? entry->key : std::string_view(), change});
    });
    while (!lines.empty() && lines.back().text.empty()) {
        lines.pop_back();
    }

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
    for (const Kept& line : lines) {
        if (line.change != nullptr) {
            write_change(*line.change);
            continue;
        }
        const std::size_t begin = result.text.size();
        result.text += line.text;
        result.text += '\n';
        result.layout.dead += line.text.empty() ? 1 : 0;
        if (!line.key.empty()) {
            end_line(line.key, begin);
        }
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (!has_place[i]) {
            write_change(changes[i]);
        }
    }
    result.layout.text_end = result.text.size();
    result.layout.live = result.layout.text_end - result.layout.dead;
    result.text.resize(rounded_up(result.text.size(), page_size), '\n');
    result.layout.size = result.text.size();
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
