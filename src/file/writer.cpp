#include "file/writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include "format/dead_space.h"

namespace zelva::file {

namespace {

constexpr std::string_view dead = "=";

/// Makes room for so many more lines, which then take no memory.
void make_room(std::vector<Superseded>& lines, std::size_t more) {
    if (lines.capacity() - lines.size() < more) {
        lines.reserve(2 * lines.size() + more);
    }
}

}  // namespace

bool Writer::is_out_of_room(int error) const {
    // A flush is never tried again.
    return (error == ENOSPC || error == EDQUOT) && !has_failed_to_flush_;
}

int Writer::put(const std::vector<Change>& changes, const Placed& placed) {
    // Everything is made ready before the file changes: there may be no memory later.
    std::vector<std::string> texts;
    std::vector<Place> lines;
    std::size_t size = 0;
    for (const Change& change : changes) {
        texts.push_back(format::lines_of(&change, &change + 1));
        lines.push_back({0, static_cast<std::uint32_t>(texts.back().size())});
        size += texts.back().size();
    }
    if (size + layout_.size + 2 * page_size > INT_MAX) {
        return EFBIG;
    }
    std::vector<std::string> texts_apart;
    if (size < sector_size && changes.size() > 1) {
        texts_apart = std::move(texts);
        texts.assign(1, format::lines_of(changes.data(), changes.data() + changes.size()));
    }
    make_room(layout_.superseded, changes.size());

    const auto leave_superseded = [this](const Place& line, const Change& change) {
        layout_.superseded.push_back({line, format::hash_of_name(change.name)});
        layout_.live -= line.size;
        layout_.dead += line.size;
    };
    const bool is_new = std::none_of(changes.begin(), changes.end(), [](const Change& change) { return change.place; });
    const std::size_t old_size = layout_.size;
    std::size_t next = 0;  // of the lines
    for (std::size_t i = 0; i < texts.size();) {
        const bool is_last = i + 1 == texts.size();
        std::size_t offset = 0;
        int error = append(texts[i], is_last, offset);
        if (is_out_of_room(error) && (error = trim_dead()) == 0) {
            error = append(texts[i], is_last, offset);
        }
        if (is_out_of_room(error) && (texts.size() == 1 || is_new)) {
            error = write_into_dead_space(texts[i], changes, offset);
        }
        if (is_out_of_room(error) && is_new && texts.size() < texts_apart.size()) {
            // There may be room for each line by itself.
            std::swap(texts, texts_apart);
            continue;
        }
        if (error != 0) {
            for (std::size_t written = 0; written < next; ++written) {
                leave_superseded(lines[written], changes[written]);
            }
            return error;
        }
        for (const std::size_t end = offset + texts[i].size(); offset < end; offset += lines[next++].size) {
            lines[next].offset = static_cast<std::uint32_t>(offset);
            layout_.live += lines[next].size;
        }
        ++i;
    }
    layout_.checkpoint_end = std::min<std::size_t>(layout_.checkpoint_end, lines.front().offset);
    // To mark_dead_at_once a line in another page would have the next flush write two: such lines wait until the file
    // grows.
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const auto& old = changes[i].place;
        if (!old) {
            continue;
        }
        if (lines[i].offset < old->offset) {
            // The new line has found room before the old one, which counts until it is withdrawn; those that mean
            // nothing by themselves have been, before.
            const bool is_last = i + 1 == changes.size();
            const Superseded line{*old, format::hash_of_name(changes[i].name)};
            if (const int error = is_last ? mark_dead_at_once({line}, true) : 0) {
                leave_superseded(lines[i], changes[i]);
                return error;
            }
            layout_.live -= old->size;
            layout_.dead += old->size;
        } else if (!is_durable() || old->offset / page_size != lines[i].offset / page_size ||
                   mark_dead({*old, format::hash_of_name(changes[i].name)}) != 0) {
            leave_superseded(*old, changes[i]);
        } else {
            layout_.live -= old->size;
            layout_.dead += old->size;
        }
    }
    if (is_durable() && layout_.size > old_size) {
        static_cast<void>(tidy());  // or later
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        placed(changes[i].name, lines[i]);
    }
    return 0;
}

int Writer::append(const std::string& text, bool is_last, std::size_t& offset) {
    if (layout_.is_damaged) {
        if (const int error = trim_padding()) {
            return error;
        }
        layout_.is_damaged = false;
    }
    return text.size() <= sector_size ? append_short(text, is_last, offset) : append_long(text, is_last, offset);
}

int Writer::append_short(std::string_view text, bool is_last, std::size_t& offset) {
    static const std::string padding(sector_size, '\n');
    offset = layout_.text_end;
    if (offset % sector_size + text.size() > sector_size) {
        offset = rounded_up(offset, sector_size);
    }
    if (offset % sector_size == 0 && text.size() < sector_size) {
        // A line feed begins the sector. Where the sector before it has not reached the disk, its NULs would take away
        // the first line of two.
        ++offset;
    }
    if (const int error = check_padding(std::min(offset + text.size(), layout_.size))) {
        return error;
    }
    if (const int error = extend(offset + text.size())) {
        return error;
    }
    int error = write(offset, text);
    if (error == 0 && (is_durable() || !is_last)) {
        error = flush();
    } else {
        layout_.is_flushed = false;
    }
    if (error != 0) {
        undo(offset, std::string_view(padding).substr(0, text.size()));
        return error;
    }
    layout_.dead += offset - layout_.text_end;
    layout_.text_end = offset + text.size();
    return 0;
}

int Writer::append_long(std::string text, bool is_last, std::size_t& offset) {
    const bool is_aligned = layout_.size % page_size == 0;
    int error = is_aligned ? 0 : extend(layout_.size + 1);
    if (error == 0 && (!is_aligned || !layout_.is_truncation_durable)) {
        error = flush();
    }
    if (error != 0) {
        return error;
    }
    offset = layout_.size;
    const std::size_t size = text.size();
    const char first = std::exchange(text[0], dead[0]);
    text.resize(rounded_up(size, page_size), '\n');
    layout_.size = offset + text.size();
    layout_.is_flushed = false;
    error = write(offset, text);
    if (error == 0) {
        error = flush();
    }
    if (error != 0) {
        must_be_read_ |= cut(offset) != 0;
        return error;
    }
    layout_.dead += offset + size - layout_.text_end;
    layout_.text_end = offset + size;

    error = write(offset, std::string_view(&first, 1));
    if (error == 0 && (is_durable() || !is_last)) {
        error = flush();
    } else {
        layout_.is_flushed = false;
    }
    if (error != 0) {
        undo(offset, dead);
        return error;
    }
    layout_.dead -= size;
    return 0;
}

int Writer::write_into_dead_space(std::string_view text, const std::vector<Change>& changes, std::size_t& offset) {
    std::string file;
    if (const int error = read_all(file_, file)) {
        return error;
    }
    const auto patch = format::find_dead_space(std::string_view(file).substr(0, layout_.text_end), text);
    if (!patch) {
        return ENOSPC;
    }
    // Old lines that stand behind the new one would count. What means nothing is withdrawn first; the value itself when
    // the new line is on the disk.
    int error = 0;
    bool has_marked = false;
    for (std::size_t i = 0; i + 1 < changes.size() && error == 0; ++i) {
        if (changes[i].place) {
            has_marked = true;
            error = mark_dead({*changes[i].place, format::hash_of_name(changes[i].name)});
        }
    }
    if (error == 0) {
        error = flush();
    }
    if (error == 0) {
        error = write(patch->offset, patch->bytes);
        if (error == 0) {
            error = flush();
        }
        if (error != 0) {
            undo(patch->offset, std::string_view(file).substr(patch->offset, patch->bytes.size()));
        }
    }
    if (error != 0) {
        // Memory would go on taking for lines what is none any more.
        must_be_read_ |= has_marked;
        return error;
    }
    offset = patch->line_offset;
    layout_.dead -= std::min(layout_.dead, text.size());
    return 0;
}

int Writer::remove(const std::vector<Change>& changes) {
    std::vector<Superseded> lines;
    std::size_t end = 0;
    for (const Change& change : changes) {
        if (change.place) {
            lines.push_back({*change.place, format::hash_of_name(change.name)});
            end = std::max<std::size_t>(end, change.place->offset + 1);
        }
    }
    if (end > layout_.checkpoint_end) {
        // Earlier lines of these names would come to count, if their withdrawal were not on the disk.
        int error = tidy();
        if (error == 0 && must_be_read_) {
            error = ESTALE;
        }
        if (error == 0 && end > layout_.checkpoint_end) {
            error = flush();
        }
        if (error != 0) {
            return error;
        }
    }
    if (const int error = mark_dead_at_once(lines, is_durable())) {
        return error;
    }
    for (const Superseded& line : lines) {
        layout_.live -= line.size;
        layout_.dead += line.size;
    }
    return 0;
}

int Writer::mark_dead_at_once(const std::vector<Superseded>& lines, bool is_durable) {
    std::string old;  // their first bytes
    for (const Superseded& line : lines) {
        if (const int error = check_line(line, line.name)) {
            return error;
        }
        char first = 0;
        if (const int error = read(line.offset, &first, 1)) {
            return error;
        }
        old += first;
    }
    // The disk writes a sector as a whole: then all of them go at once.
    const auto [least, greatest] = std::minmax_element(
        lines.begin(), lines.end(), [](const Place& left, const Place& right) { return left.offset < right.offset; });
    const bool is_within_sector = least->offset / sector_size == greatest->offset / sector_size;
    int error = 0;
    if (is_within_sector) {
        std::string bytes(greatest->offset - least->offset + 1, '\0');
        error = read(least->offset, bytes.data(), bytes.size());
        for (const Place& line : lines) {
            bytes[line.offset - least->offset] = format::dead_mark;
        }
        error = error == 0 ? write(least->offset, bytes) : error;
        error = error == 0 && is_durable ? flush() : error;
    } else {
        for (auto line = lines.begin(); line != lines.end() && error == 0; ++line) {
            error = write(line->offset, dead);
            // Otherwise a loss of power might leave a key without its default.
            const bool is_last = line + 1 == lines.end();
            error = error == 0 && (is_durable || !is_last) ? flush() : error;
        }
    }
    if (error != 0 || !is_durable) {
        layout_.is_flushed = false;
    }
    for (std::size_t i = 0; error != 0 && i < lines.size(); ++i) {
        undo(lines[i].offset, std::string_view(old).substr(i, 1));
    }
    if (error != 0 && !is_within_sector && !has_failed_to_flush_) {
        // The withdrawal of the first one may be on the disk.
        static_cast<void>(flush());
    }
    return error;
}

int Writer::tidy() {
    int error = layout_.is_flushed ? 0 : flush();
    for (auto line = layout_.superseded.begin(); line != layout_.superseded.end() && error == 0; ++line) {
        error = mark_dead(*line);
    }
    if (error == 0) {
        layout_.superseded.clear();
    }
    return error;
}

int Writer::trim_dead() {
    // Superseded lines may be withdrawn by now.
    if (const int error = tidy()) {
        return error;
    }
    std::string file;
    if (const int error = read_all(file_, file)) {
        return error;
    }
    const std::size_t end = format::live_end(file);
    if (end >= layout_.text_end) {
        return ENOSPC;
    }
    return cut(end);
}

int Writer::trim_padding() {
    std::string padding(layout_.size - layout_.text_end, '\0');
    if (const int error = read(layout_.text_end, padding.data(), padding.size())) {
        return error;
    }
    return format::live_end(padding) == 0 ? cut(layout_.text_end) : stale();
}

int Writer::extend(std::size_t size) {
    if (size <= layout_.size) {
        return 0;
    }
    // What was cut off would come back as if it had been written since.
    if (!layout_.is_truncation_durable) {
        if (const int error = flush()) {
            return error;
        }
    }
    const std::string padding(rounded_up(size, page_size) - layout_.size, '\n');
    std::size_t written = 0;
    const int error = write_at(file_, layout_.size, padding, written);
    layout_.size += written;
    return layout_.size >= size ? 0 : error;
}

int Writer::cut(std::size_t size) {
    if (system::ftruncate(file_.number(), static_cast<off_t>(size)) != 0) {
        return errno;
    }
    layout_.size = size;
    layout_.arranged_end = std::min(layout_.arranged_end, size);
    layout_.is_flushed = false;
    layout_.is_truncation_durable = false;
    if (size < layout_.text_end) {
        layout_.dead -= std::min(layout_.dead, layout_.text_end - size);
        layout_.text_end = size;
    }
    return 0;
}

int Writer::flush() {
    if (system::fdatasync(file_.number()) != 0) {
        has_failed_to_flush_ = true;
        layout_.is_flushed = false;
        return errno;
    }
    layout_.is_flushed = true;
    layout_.is_truncation_durable = true;
    if (layout_.superseded.empty()) {
        layout_.checkpoint_end = layout_.text_end;
    }
    return 0;
}

int Writer::stale() {
    must_be_read_ = true;
    return ESTALE;
}

int Writer::read(std::size_t offset, char* bytes, std::size_t size) {
    const int error = read_at(file_, offset, bytes, size);
    return error == ESTALE ? stale() : error;  // a person has cut the file off
}

int Writer::check_padding(std::size_t end) {
    // And the line feed of the last line.
    const std::size_t begin = layout_.text_end > 0 ? layout_.text_end - 1 : 0;
    std::array<char, 2 * sector_size + 1> padding{};
    const std::size_t size = end > begin ? end - begin : 0;
    if (const int error = read(begin, padding.data(), size)) {
        return error;
    }
    const bool is_padding = std::all_of(padding.begin(), padding.begin() + static_cast<std::ptrdiff_t>(size),
                                        [](char c) { return c == '\n'; });
    return is_padding ? 0 : stale();
}

int Writer::check_line(const Place& line, std::uint32_t name) {
    // The last byte of the line before it, and mostly all of it.
    const std::size_t before = line.offset > 0 ? 1 : 0;
    std::array<char, sector_size + 1> usual{};
    std::string_view bytes(usual.data(), std::min<std::size_t>(line.size + before, usual.size()));
    if (const int error = read(line.offset - before, usual.data(), bytes.size())) {
        return error;
    }
    std::string whole;
    if (bytes.size() < line.size + before && !format::name_in(bytes.substr(before))) {
        whole.resize(line.size + before);
        if (const int error = read(line.offset - before, whole.data(), whole.size())) {
            return error;
        }
        bytes = whole;
    }
    const bool is_line = before == 0 || bytes[0] == '\n';
    bytes.remove_prefix(before);
    const auto found = format::name_in(bytes.substr(0, bytes.find('\n')));
    return is_line && found && format::hash_of_name(*found) == name ? 0 : stale();
}

int Writer::mark_dead(const Superseded& line) {
    const int error = check_line(line, line.name);
    // What stands there now is another line, which counts. The file tells where those of this entry are.
    return error == ESTALE ? 0 : error != 0 ? error : write(line.offset, dead);
}

int Writer::write(std::size_t offset, std::string_view bytes) {
    std::size_t written = 0;
    return write_at(file_, offset, bytes, written);
}

void Writer::undo(std::size_t offset, std::string_view bytes) {
    layout_.is_flushed = false;
    must_be_read_ |= write(offset, bytes) != 0;
}

}  // namespace zelva::file
