#include "file/writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <numeric>
#include <utility>

#include "format/dead_space.h"

namespace zelva::file {

using format::Change;
using format::page_size;
using format::Place;
using format::rounded_up;
using format::sector_size;
using format::Superseded;

namespace {

constexpr std::string_view dead = "=";
static_assert(dead[0] == format::dead_mark);

/// Makes room for so many more lines, which then take no memory.
void make_room(std::vector<Superseded>& lines, std::size_t more) {
    if (lines.capacity() - lines.size() < more) {
        lines.reserve(2 * lines.size() + more);
    }
}

}  // namespace

/// The changes of a batch that give values, and their lines. All of it is made before the file changes: there may be no
/// memory later.
struct Writer::Insertion {
    Insertion(const Change* begin_, const Change* end_, Place* places_) : begin(begin_), end(end_), places(places_) {
        std::size_t size = 0;
        for (const Change* change = begin; change != end; ++change) {
            pieces.push_back(change->line);
            place(*change) = {0, static_cast<std::uint32_t>(change->line.size())};
            size += change->line.size();
        }
        if (size < sector_size && end - begin > 1) {
            lines = std::move(pieces);
            pieces.assign(1, std::accumulate(lines.begin(), lines.end(), std::string()));
        }
    }

    Place& place(const Change& change) const { return places[&change - begin]; }

    /// Of a key that has no line yet.
    bool is_new() const {
        return std::none_of(begin, end, [](const Change& change) { return change.place.has_value(); });
    }

    bool is_of_one_key() const { return format::is_of_one_key(begin, end); }

    bool is_last(const Change& change) const { return &change + 1 == end; }

    const Change* begin;
    const Change* end;
    Place* places;                    // of the lines; their sizes are known
    std::vector<std::string> pieces;  // each is placed by itself: a line, or all of them
    std::vector<std::string> lines;   // the same one by one, where they are one piece
};

bool Writer::is_out_of_room(const Error& error) const {
    // A flush is never tried again.
    return (error.number == ENOSPC || error.number == EDQUOT) && !has_failed_to_flush_;
}

std::size_t Writer::most_text(const format::Batch& batch, const format::Layout& layout) {
    // Behind each line the next page may begin; or it is one of a record, where it has a share of the comment.
    const std::size_t each = batch.size() > 2 ? sector_size : 2 * page_size;
    return std::accumulate(batch.begin(), batch.end(), layout.size + 2 * page_size,
                           [each](std::size_t sum, const Change& change) { return sum + change.line.size() + each; });
}

Error Writer::apply(const format::Batch& batch, std::vector<Place>& places) {
    places.assign(batch.size(), {});
    const Change* const begin = batch.data();
    const Change* const end = begin + batch.size();
    const bool removes = std::any_of(begin, end, [](const Change& change) { return !change.gives_value(); });
    const Change* const values = std::find_if(begin, end, [](const Change& change) { return change.gives_value(); });
    Insertion insertion(values, end, places.data() + (values - begin));
    if (most_text(batch, layout_) > INT_MAX) {
        return error_of("pwrite", EFBIG);
    }
    make_room(layout_.superseded, 2 * batch.size() + 1);
    if ((removes || insertion.pieces.size() > 1) && !format::is_of_one_key(begin, end)) {
        return append_record(batch, places);
    }
    const Error error = begin != values ? remove(begin, values, values != end) : Error();
    return !error && values != end ? insert(insertion) : error;
}

Error Writer::remove(const Change* begin, const Change* end, bool are_values_to_follow) {
    std::vector<Superseded> lines;
    std::size_t lines_end = 0;
    for (const Change* change = begin; change != end; ++change) {
        if (change->place) {
            lines.push_back({*change->place, format::hash_of_name(change->name)});
            lines_end = std::max<std::size_t>(lines_end, change->place->offset + 1);
        }
    }
    if (const Error error = settle(lines_end, are_values_to_follow)) {
        return error;
    }
    if (lines.empty()) {
        return {};
    }
    if (const Error error = mark_all_dead(lines, is_durable())) {
        return error;
    }
    for (const Superseded& line : lines) {
        layout_.live -= line.size;
        layout_.dead += line.size;
    }
    return {};
}

/// Sees to it that earlier lines of names, whose lines lie before `end`, do not come to count when these are marked
/// dead. Where values are to follow that these names would spoil, no line of them is left: also none that has been
/// removed since the last flush, or that a refused change has left.
Error Writer::settle(std::size_t end, bool are_values_to_follow) {
    const bool is_to_be_marked = are_values_to_follow && !layout_.superseded.empty();
    const bool is_to_be_flushed = are_values_to_follow && is_durable() && (is_to_be_marked || !layout_.is_flushed);
    if (end <= layout_.checkpoint_end && !is_to_be_marked) {
        return is_to_be_flushed ? flush() : Error();
    }
    Error error = checkpoint();
    if (!error && must_be_read_) {
        error = stale();
    }
    if (!error && (end > layout_.checkpoint_end || is_to_be_flushed)) {
        error = flush();
    }
    return error;
}

Error Writer::append_record(const format::Batch& batch, std::vector<Place>& places) {
    std::vector<Superseded> removed;
    std::size_t removed_end = 0;
    for (const Change& change : batch) {
        if (!change.gives_value() && change.place) {
            removed.push_back({*change.place, format::hash_of_name(change.name)});
            removed_end = std::max<std::size_t>(removed_end, change.place->offset + 1);
        }
    }
    Error error = settle(removed_end, !removed.empty());
    for (auto line = removed.begin(); line != removed.end() && !error; ++line) {
        error = check_line(*line);
    }
    if (!error && layout_.is_damaged) {
        error = trim();
        layout_.is_damaged = static_cast<bool>(error);
    }
    error = error ? error : align();
    if (error) {
        return error;
    }
    const format::BatchRecord record = format::record_of(batch, layout_.size);
    error = write_record(record);
    if (error) {
        return error;
    }
    // The batch counts. What cannot be done now is done before the next write.
    must_be_read_ |= static_cast<bool>(carry_out(record, removed));
    layout_.superseded.push_back({record.comment, format::hash_of_name(format::comment_name)});
    for (std::size_t i = 0; i < batch.size(); ++i) {
        layout_.live += record.places[i].size;
        if (batch[i].gives_value() && batch[i].place) {
            layout_.supersede({*batch[i].place, format::hash_of_name(batch[i].name)});
        }
    }
    for (const Superseded& line : removed) {
        layout_.live -= line.size;
        layout_.dead += line.size;
    }
    layout_.checkpoint_end = std::min<std::size_t>(layout_.checkpoint_end, record.comment.offset);
    places = record.places;
    return {};
}

/// Writes a record behind the end of the file, and flushes it: then the batch counts.
Error Writer::write_record(const format::BatchRecord& record) {
    const std::size_t offset = layout_.size;
    std::string text = record.text;
    text.resize(rounded_up(text.size(), page_size), '\n');
    layout_.size = offset + text.size();
    layout_.is_flushed = false;
    Error error = write(offset, text);
    if (!error) {
        error = flush();
    }
    if (error) {
        must_be_read_ |= static_cast<bool>(truncate(offset));
        return error;
    }
    layout_.dead += offset + record.comment.size - layout_.text_end;
    layout_.text_end = offset + record.text.size();
    return {};
}

/// Puts the first bytes of a record's lines in place, and marks dead what it removes.
Error Writer::carry_out(const format::BatchRecord& record, const std::vector<Superseded>& removed) {
    layout_.is_flushed = false;
    Error error = write(record.comment.offset, record.live);
    for (auto line = removed.begin(); line != removed.end() && !error; ++line) {
        error = write(line->offset, dead);
    }
    return error;
}

Error Writer::redo(const std::vector<format::Fix>& fixes) {
    Error error;
    for (auto fix = fixes.begin(); fix != fixes.end() && !error; ++fix) {
        layout_.is_flushed = false;
        error = write(fix->offset, std::string_view(&fix->byte, 1));
    }
    return error;
}

Error Writer::insert(Insertion& insertion) {
    const std::size_t old_size = layout_.size;
    if (const Error error = place(insertion)) {
        return error;
    }
    layout_.checkpoint_end = std::min<std::size_t>(layout_.checkpoint_end, insertion.places[0].offset);
    if (const Error error = retire(insertion)) {
        return error;
    }
    // To mark a line dead in another page has the next flush write two: such lines wait until the file grows.
    if (is_durable() && layout_.size > old_size) {
        static_cast<void>(checkpoint());  // or later
    }
    return {};
}

/// Writes the pieces in turn.
Error Writer::place(Insertion& insertion) {
    const Change* next = insertion.begin;
    for (std::size_t i = 0; i < insertion.pieces.size(); ++i) {
        std::size_t offset = 0;
        Error error = place_piece(insertion, i, offset);
        if (is_out_of_room(error) && insertion.is_of_one_key() && insertion.is_new() && !insertion.lines.empty()) {
            // There may be room for each line by itself.
            insertion.pieces = std::move(insertion.lines);
            insertion.lines.clear();
            error = place_piece(insertion, i, offset);
        }
        if (error) {
            for (const Change* written = insertion.begin; written != next; ++written) {
                layout_.supersede({insertion.place(*written), format::hash_of_name(written->name)});
            }
            return error;
        }
        for (const std::size_t end = offset + insertion.pieces[i].size(); offset < end; ++next) {
            insertion.place(*next).offset = static_cast<std::uint32_t>(offset);
            offset += insertion.place(*next).size;
            layout_.live += insertion.place(*next).size;
        }
    }
    return {};
}

/// Writes one piece where there is room.
Error Writer::place_piece(const Insertion& insertion, std::size_t piece, std::size_t& offset) {
    const std::string& text = insertion.pieces[piece];
    const bool is_last = piece + 1 == insertion.pieces.size();
    Error error = append(text, is_last, offset);
    if (is_out_of_room(error)) {
        error = truncate_dead();
        if (!error) {
            error = append(text, is_last, offset);
        }
    }
    if (is_out_of_room(error) && insertion.is_of_one_key() && (insertion.pieces.size() == 1 || insertion.is_new())) {
        error = write_into_dead_space(text, insertion, offset);
    }
    return error;
}

/// Marks the lines dead that the new ones supersede, or leaves that for later.
Error Writer::retire(const Insertion& insertion) {
    for (const Change* change = insertion.begin; change != insertion.end; ++change) {
        if (!change->place) {
            continue;
        }
        const Superseded old{*change->place, format::hash_of_name(change->name)};
        const Place& line = insertion.place(*change);
        if (line.offset < old.offset) {
            // The new line lies before the old one, which still wins. To mark that dead is the commit point. The others
            // have been marked before.
            if (const Error error = insertion.is_last(*change) ? mark_all_dead({old}, true) : Error()) {
                layout_.supersede({line, old.name});
                return error;
            }
        } else if (!is_durable() || old.offset / page_size != line.offset / page_size || mark_dead(old)) {
            layout_.supersede(old);
            continue;
        }
        layout_.live -= old.size;
        layout_.dead += old.size;
    }
    return {};
}

Error Writer::append(const std::string& text, bool is_last, std::size_t& offset) {
    if (layout_.is_damaged) {
        if (const Error error = trim()) {
            return error;
        }
        layout_.is_damaged = false;
    }
    return text.size() <= sector_size ? append_short(text, is_last, offset) : append_long(text, is_last, offset);
}

Error Writer::append_short(std::string_view text, bool is_last, std::size_t& offset) {
    offset = layout_.text_end;
    if (offset % sector_size + text.size() > sector_size) {
        offset = rounded_up(offset, sector_size);
    }
    if (offset % sector_size == 0 && text.size() < sector_size) {
        // A line feed begins the sector. Where the sector before it has not reached the disk, its NULs would take away
        // the first line of two.
        ++offset;
    }
    if (const Error error = check_padding(std::min(offset + text.size(), layout_.size))) {
        return error;
    }
    if (const Error error = extend(offset + text.size())) {
        return error;
    }
    Error error = write(offset, text);
    if (!error && (is_durable() || !is_last)) {
        error = flush();
    } else {
        layout_.is_flushed = false;
    }
    if (error) {
        std::array<char, sector_size> blanks{};
        blanks.fill('\n');
        undo(offset, {blanks.data(), text.size()});
        return error;
    }
    layout_.dead += offset - layout_.text_end;
    layout_.text_end = offset + text.size();
    return {};
}

/// Has the file end with a page, on the disk too, so that what comes next is written behind its end.
Error Writer::align() {
    const bool is_aligned = layout_.size % page_size == 0;
    const Error error = is_aligned ? Error() : extend(layout_.size + 1);
    return !error && (!is_aligned || !layout_.is_truncation_durable) ? flush() : error;
}

Error Writer::append_long(std::string text, bool is_last, std::size_t& offset) {
    Error error = align();
    if (error) {
        return error;
    }
    offset = layout_.size;
    const std::size_t size = text.size();
    const char first = std::exchange(text[0], format::dead_mark);
    text.resize(rounded_up(size, page_size), '\n');
    layout_.size = offset + text.size();
    layout_.is_flushed = false;
    error = write(offset, text);
    if (!error) {
        error = flush();
    }
    if (error) {
        must_be_read_ |= static_cast<bool>(truncate(offset));
        return error;
    }
    layout_.dead += offset + size - layout_.text_end;
    layout_.text_end = offset + size;

    error = write(offset, std::string_view(&first, 1));
    if (!error && (is_durable() || !is_last)) {
        error = flush();
    } else {
        layout_.is_flushed = false;
    }
    if (error) {
        undo(offset, dead);
        return error;
    }
    layout_.dead -= size;
    return {};
}

Error Writer::write_into_dead_space(std::string_view text, const Insertion& insertion, std::size_t& offset) {
    std::string file;
    if (const Error error = read_all(file_, file)) {
        return error;
    }
    const auto patch = format::find_dead_space(std::string_view(file).substr(0, layout_.text_end), text);
    if (!patch) {
        return error_of("pwrite", ENOSPC);
    }
    // Old lines that stand behind the new one would count. What means nothing is marked dead first; the old value when
    // the new line is on the disk.
    Error error;
    bool has_marked = false;
    for (const Change* change = insertion.begin; !insertion.is_last(*change) && !error; ++change) {
        if (change->place) {
            has_marked = true;
            error = mark_dead({*change->place, format::hash_of_name(change->name)});
        }
    }
    if (!error) {
        error = flush();
    }
    if (!error) {
        error = write(patch->offset, patch->bytes);
        if (!error) {
            error = flush();
        }
        if (error) {
            undo(patch->offset, std::string_view(file).substr(patch->offset, patch->bytes.size()));
        }
    }
    if (error) {
        // Memory would go on taking for lines what is none any more.
        must_be_read_ |= has_marked;
        return error;
    }
    offset = patch->line_offset;
    layout_.dead -= std::min(layout_.dead, text.size());
    return {};
}

Error Writer::mark_dead(const Superseded& line) {
    const Error error = check_line(line);
    // What stands there now is another line, which counts. The file tells where those of this entry are.
    return error.number == ESTALE ? Error() : error ? error : write(line.offset, dead);
}

Error Writer::mark_all_dead(const std::vector<Superseded>& lines, bool is_durable) {
    std::string first_bytes;
    for (const Superseded& line : lines) {
        if (const Error error = check_line(line)) {
            return error;
        }
        char first = 0;
        if (const Error error = read(line.offset, &first, 1)) {
            return error;
        }
        first_bytes += first;
    }
    const bool is_within_sector = std::all_of(lines.begin(), lines.end(), [&lines](const Place& line) {
        return line.offset / sector_size == lines[0].offset / sector_size;
    });
    const Error error = is_within_sector ? mark_within_sector(lines, is_durable) : mark_in_turn(lines, is_durable);
    if (error || !is_durable) {
        layout_.is_flushed = false;
    }
    for (std::size_t i = 0; error && i < lines.size(); ++i) {
        undo(lines[i].offset, std::string_view(first_bytes).substr(i, 1));
    }
    if (error && !is_within_sector && !has_failed_to_flush_) {
        // The first mark may be on the disk.
        static_cast<void>(flush());
    }
    return error;
}

/// In one write, which the disk makes as a whole.
Error Writer::mark_within_sector(const std::vector<Superseded>& lines, bool is_durable) {
    const auto [first, last] = std::minmax_element(
        lines.begin(), lines.end(), [](const Place& left, const Place& right) { return left.offset < right.offset; });
    std::string bytes(last->offset - first->offset + 1, '\0');
    Error error = read(first->offset, bytes.data(), bytes.size());
    for (const Place& line : lines) {
        bytes[line.offset - first->offset] = format::dead_mark;
    }
    if (!error) {
        error = write(first->offset, bytes);
    }
    return !error && is_durable ? flush() : error;
}

Error Writer::mark_in_turn(const std::vector<Superseded>& lines, bool is_durable) {
    Error error;
    for (auto line = lines.begin(); line != lines.end() && !error; ++line) {
        error = write(line->offset, dead);
        // Otherwise a power loss might leave a key without its default.
        const bool is_last = line + 1 == lines.end();
        if (!error && (is_durable || !is_last)) {
            error = flush();
        }
    }
    return error;
}

Error Writer::checkpoint() {
    Error error = layout_.is_flushed ? Error() : flush();
    for (auto line = layout_.superseded.begin(); line != layout_.superseded.end() && !error; ++line) {
        error = mark_dead(*line);
    }
    if (!error) {
        layout_.superseded.clear();
    }
    return error;
}

Error Writer::trim() {
    std::string padding(layout_.size - layout_.text_end, '\0');
    if (const Error error = read(layout_.text_end, padding.data(), padding.size())) {
        return error;
    }
    return format::live_end(padding) == 0 ? truncate(layout_.text_end) : stale();
}

/// Cuts dead lines off the end of the file.
Error Writer::truncate_dead() {
    // Superseded lines may be dead by now.
    if (const Error error = checkpoint()) {
        return error;
    }
    std::string file;
    if (const Error error = read_all(file_, file)) {
        return error;
    }
    const std::size_t end = format::live_end(file);
    return end < layout_.text_end ? truncate(end) : error_of("pwrite", ENOSPC);
}

Error Writer::extend(std::size_t size) {
    if (size <= layout_.size) {
        return {};
    }
    // What was cut off would come back as if it had been written since.
    if (!layout_.is_truncation_durable) {
        if (const Error error = flush()) {
            return error;
        }
    }
    const std::string padding(rounded_up(size, page_size) - layout_.size, '\n');
    std::size_t written = 0;
    const Error error = write_at(file_, layout_.size, padding, written);
    layout_.size += written;
    return layout_.size >= size ? Error() : error;
}

Error Writer::truncate(std::size_t size) {
    if (system::ftruncate(file_.number(), static_cast<off_t>(size)) != 0) {
        return last_error("ftruncate");
    }
    layout_.size = size;
    layout_.arranged_end = std::min(layout_.arranged_end, size);
    layout_.is_flushed = false;
    layout_.is_truncation_durable = false;
    if (size < layout_.text_end) {
        layout_.dead -= std::min(layout_.dead, layout_.text_end - size);
        layout_.text_end = size;
    }
    return {};
}

Error Writer::flush() {
    if (system::fdatasync(file_.number()) != 0) {
        has_failed_to_flush_ = true;
        layout_.is_flushed = false;
        return last_error("fdatasync");
    }
    layout_.is_flushed = true;
    layout_.is_truncation_durable = true;
    if (layout_.superseded.empty()) {
        layout_.checkpoint_end = layout_.text_end;
    }
    return {};
}

Error Writer::check_padding(std::size_t end) {
    // And the line feed of the last line.
    const std::size_t begin = layout_.text_end > 0 ? layout_.text_end - 1 : 0;
    std::array<char, 2 * sector_size + 1> padding;  // what is read of it is written first
    const std::size_t size = end > begin ? end - begin : 0;
    if (const Error error = read(begin, padding.data(), size)) {
        return error;
    }
    const bool is_padding = std::all_of(padding.begin(), padding.begin() + static_cast<std::ptrdiff_t>(size),
                                        [](char c) { return c == '\n'; });
    return is_padding ? Error() : stale();
}

Error Writer::check_line(const Superseded& line) {
    // The last byte of the line before it, and mostly all of it.
    const std::size_t before = line.offset > 0 ? 1 : 0;
    std::array<char, sector_size + 1> usual;
    std::string_view bytes(usual.data(), std::min<std::size_t>(line.size + before, usual.size()));
    if (const Error error = read(line.offset - before, usual.data(), bytes.size())) {
        return error;
    }
    std::string whole;
    if (bytes.size() < line.size + before && !format::name_in(bytes.substr(before))) {
        whole.resize(line.size + before);
        if (const Error error = read(line.offset - before, whole.data(), whole.size())) {
            return error;
        }
        bytes = whole;
    }
    const bool is_line = before == 0 || bytes[0] == '\n';
    bytes.remove_prefix(before);
    const auto found = format::name_in(bytes.substr(0, bytes.find('\n')));
    return is_line && found && format::hash_of_name(*found) == line.name ? Error() : stale();
}

Error Writer::stale() {
    must_be_read_ = true;
    return error_of("pread", ESTALE);
}

Error Writer::read(std::size_t offset, char* bytes, std::size_t size) {
    const Error error = read_at(file_, offset, bytes, size);
    return error.number == ESTALE ? stale() : error;  // a person has cut the file off
}

Error Writer::write(std::size_t offset, std::string_view bytes) {
    std::size_t written = 0;
    return write_at(file_, offset, bytes, written);
}

void Writer::undo(std::size_t offset, std::string_view bytes) {
    layout_.is_flushed = false;
    must_be_read_ |= static_cast<bool>(write(offset, bytes));
}

}  // namespace zelva::file
