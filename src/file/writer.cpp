#include "file/writer.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

namespace zelva::file {

namespace {

constexpr std::string_view mark_of_withdrawal = "=";

/// Makes room for so many more lines, which then take no memory.
void make_room(std::vector<Line>& lines, std::size_t more) {
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
    std::vector<Line> lines;
    std::size_t size = 0;
    for (const Change& change : changes) {
        texts.push_back(lines_of(&change, &change + 1));
        lines.push_back({0, static_cast<std::uint32_t>(texts.back().size())});
        size += texts.back().size();
    }
    if (size + layout_.size + 2 * page_size > INT_MAX) {
        return EFBIG;
    }
    std::vector<std::string> texts_apart;
    if (size < sector_size && changes.size() > 1) {
        texts_apart = std::move(texts);
        texts.assign(1, lines_of(changes.data(), changes.data() + changes.size()));
    }
    make_room(layout_.replaced, changes.size());

    const auto leave_replaced = [this](const Line& line) {
        layout_.replaced.push_back(line);
        layout_.live -= line.size;
        layout_.dead += line.size;
    };
    const bool is_new = std::none_of(changes.begin(), changes.end(), [](const Change& change) { return change.line; });
    const std::size_t old_size = layout_.size;
    std::size_t next = 0;  // of the lines
    for (std::size_t i = 0; i < texts.size();) {
        const bool is_last = i + 1 == texts.size();
        std::size_t offset = 0;
        int error = append(texts[i], is_last, offset);
        if (is_out_of_room(error) && (error = cut_withdrawn()) == 0) {
            error = append(texts[i], is_last, offset);
        }
        if (is_out_of_room(error) && (texts.size() == 1 || is_new)) {
            error = reuse(texts[i], changes, offset);
        }
        if (is_out_of_room(error) && is_new && texts.size() < texts_apart.size()) {
            // There may be room for each line by itself.
            std::swap(texts, texts_apart);
            continue;
        }
        if (error != 0) {
            std::for_each(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(next), leave_replaced);
            return error;
        }
        for (const std::size_t end = offset + texts[i].size(); offset < end; offset += lines[next++].size) {
            lines[next].offset = static_cast<std::uint32_t>(offset);
            layout_.live += lines[next].size;
        }
        ++i;
    }
    layout_.settled_end = std::min<std::size_t>(layout_.settled_end, lines.front().offset);
    // To withdraw a line in another page would have the next flush write two: such lines wait until the file grows.
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const auto& old = changes[i].line;
        if (!old) {
            continue;
        }
        if (lines[i].offset < old->offset) {
            // The new line has found room before the old one, which counts until it is withdrawn; those that mean
            // nothing by themselves have been, before.
            const bool is_last = i + 1 == changes.size();
            if (const int error = is_last ? withdraw(*old, true) : 0) {
                leave_replaced(lines[i]);
                return error;
            }
            layout_.live -= old->size;
            layout_.dead += old->size;
        } else if (!is_durable() || old->offset / page_size != lines[i].offset / page_size || mark(*old) != 0) {
            leave_replaced(*old);
        } else {
            layout_.live -= old->size;
            layout_.dead += old->size;
        }
    }
    if (is_durable() && layout_.size > old_size) {
        static_cast<void>(tidy());  // or later
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        placed(changes[i].key, lines[i]);
    }
    return 0;
}

int Writer::append(const std::string& text, bool is_last, std::size_t& offset) {
    if (layout_.is_damaged) {
        if (const int error = cut(layout_.text_end)) {
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
    if (error == 0 && (!is_aligned || !layout_.is_end_flushed)) {
        error = flush();
    }
    if (error != 0) {
        return error;
    }
    offset = layout_.size;
    const std::size_t size = text.size();
    const char first = std::exchange(text[0], mark_of_withdrawal[0]);
    text.resize(rounded_up(size, page_size), '\n');
    layout_.size = offset + text.size();
    layout_.is_flushed = false;
    error = write(offset, text);
    if (error == 0) {
        error = flush();
    }
    if (error != 0) {
        has_failed_to_undo_ |= cut(offset) != 0;
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
        undo(offset, mark_of_withdrawal);
        return error;
    }
    layout_.dead -= size;
    return 0;
}

int Writer::reuse(std::string_view text, const std::vector<Change>& changes, std::size_t& offset) {
    std::string file;
    if (const int error = read_all(file_, file)) {
        return error;
    }
    const auto patch = fitted_into_withdrawn(std::string_view(file).substr(0, layout_.text_end), text);
    if (!patch) {
        return ENOSPC;
    }
    // Old lines that stand behind the new one would count. What means nothing is withdrawn first; the value itself when
    // the new line is on the disk.
    int error = 0;
    bool has_marked = false;
    for (std::size_t i = 0; i + 1 < changes.size() && error == 0; ++i) {
        if (changes[i].line) {
            has_marked = true;
            error = mark(*changes[i].line);
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
        has_failed_to_undo_ |= has_marked;
        return error;
    }
    offset = patch->text_offset;
    layout_.dead -= std::min(layout_.dead, text.size());
    return 0;
}

int Writer::remove(const std::vector<Change>& changes) {
    make_room(layout_.replaced, changes.size());
    const Line& value = *changes.front().line;
    int error = 0;
    if (value.offset >= layout_.settled_end) {
        // Earlier lines of the key would come to count, if their withdrawal were not on the disk.
        error = tidy();
        if (error == 0) {
            error = flush();
        }
        if (error != 0) {
            return error;
        }
    }
    error = withdraw(value, is_durable());
    if (error != 0) {
        return error;
    }
    for (const Change& change : changes) {
        if (!change.line) {
            continue;
        }
        layout_.live -= change.line->size;
        layout_.dead += change.line->size;
        if (&change != &changes.front() && (!is_durable() || mark(*change.line) != 0)) {
            layout_.replaced.push_back(*change.line);
        }
    }
    return 0;
}

int Writer::withdraw(const Line& line, bool is_durable) {
    char first = 0;
    for (ssize_t count = 0; count != 1;) {
        count = system::pread(file_.number(), &first, 1, static_cast<off_t>(line.offset));
        if (count == 0) {
            has_failed_to_undo_ = true;  // a person has cut the file off: it is to be read again
            return EIO;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
    }
    int error = mark(line);
    if (error == 0 && is_durable) {
        error = flush();
    } else {
        layout_.is_flushed = false;
    }
    if (error != 0) {
        undo(line.offset, std::string_view(&first, 1));
    }
    return error;
}

int Writer::tidy() {
    int error = layout_.is_flushed ? 0 : flush();
    for (auto line = layout_.replaced.begin(); line != layout_.replaced.end() && error == 0; ++line) {
        error = mark(*line);
    }
    if (error == 0) {
        layout_.replaced.clear();
    }
    return error;
}

int Writer::cut_withdrawn() {
    // Replaced lines may be withdrawn by now.
    if (const int error = tidy()) {
        return error;
    }
    std::string file;
    if (const int error = read_all(file_, file)) {
        return error;
    }
    const std::size_t end = live_end(file);
    if (end >= layout_.text_end) {
        return ENOSPC;
    }
    return cut(end);
}

int Writer::extend(std::size_t size) {
    if (size <= layout_.size) {
        return 0;
    }
    // What was cut off would come back as if it had been written since.
    if (!layout_.is_end_flushed) {
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
    layout_.is_flushed = false;
    layout_.is_end_flushed = false;
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
    layout_.is_end_flushed = true;
    if (layout_.replaced.empty()) {
        layout_.settled_end = layout_.text_end;
    }
    return 0;
}

int Writer::mark(const Line& line) {
    return write(line.offset, mark_of_withdrawal);
}

int Writer::write(std::size_t offset, std::string_view bytes) {
    std::size_t written = 0;
    return write_at(file_, offset, bytes, written);
}

void Writer::undo(std::size_t offset, std::string_view bytes) {
    layout_.is_flushed = false;
    has_failed_to_undo_ |= write(offset, bytes) != 0;
}

}  // namespace zelva::file
