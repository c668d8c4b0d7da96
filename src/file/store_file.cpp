#include "file/store_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>

#include "file/replacement.h"
#include "file/writer.h"
#include "format/compaction.h"
#include "value/text.h"

namespace zelva::file {

using format::page_size;

namespace {

// Without O_NONBLOCK the open would wait for the other end of a FIFO.
constexpr int open_flags = O_CLOEXEC | O_NONBLOCK;

/// A file that has been read, and still is open. One that does not exist reads as empty.
struct ReadFile {
    Descriptor file;
    bool exists = false;
    struct stat attributes {};
    std::string text;

    Stamp stamp() const { return exists ? stamp_of(attributes) : Stamp{}; }
};

/// Whether a file is in the state of this stamp.
bool is_stamp_of(const std::string& path, const Stamp& stamp) {
    struct stat attributes {};
    return system::stat(path.c_str(), &attributes) == 0 ? stamp == stamp_of(attributes) : stamp == Stamp{};
}

bool exists(const std::string& path) {
    struct stat attributes {};
    return system::stat(path.c_str(), &attributes) == 0;
}

/// Reads a file, opened as `access` says (O_RDONLY, O_RDWR). No error where it does not exist.
Error read_file(const std::string& path, int access, ReadFile& out) {
    out = ReadFile();
    out.file = Descriptor(system::open(path.c_str(), access | open_flags));
    if (!out.file.is_open()) {
        return errno == ENOENT ? Error() : last_error("open");
    }
    if (system::fstat(out.file.number(), &out.attributes) != 0) {
        return last_error("fstat");
    }
    if (!S_ISREG(out.attributes.st_mode)) {
        return error_of("open", EINVAL);
    }
    out.exists = true;
    return read_all(out.file, out.text);
}

/// Reads a file that a program might be changing of which nothing is known but the file: until it reads the same twice.
Error read_file_at_rest(const std::string& path, ReadFile& out) {
    constexpr int most_attempts = 10;
    Error error = read_file(path, O_RDONLY, out);
    for (int attempt = 0; attempt < most_attempts && !error; ++attempt) {
        ReadFile again;
        error = read_file(path, O_RDONLY, again);
        std::swap(out, again);
        if (out.text == again.text) {
            break;
        }
    }
    return error;
}

/// Marks a line of a file's text dead, if it is still the line of its entry.
void mark_dead_in(std::string& text, const format::Superseded& line) {
    const bool is_line = line.offset < text.size() && (line.offset == 0 || text[line.offset - 1] == '\n');
    const auto found = is_line ? format::name_in(std::string_view(text).substr(line.offset, line.size)) : std::nullopt;
    if (found && format::hash_of_name(*found) == line.name) {
        text[line.offset] = format::dead_mark;
    }
}

/// Makes the batches count that a file's text holds, and marks all dead that is superseded.
void mark_superseded_in(std::string& text, const std::vector<format::Superseded>& superseded) {
    std::vector<format::Fix> fixes;
    std::vector<format::Superseded> comments;
    format::redo(text, fixes, comments);
    for (const format::Superseded& comment : comments) {
        text[comment.offset] = format::dead_mark;
    }
    // Among these may be the default of a key that could not be written, which no later line supersedes.
    for (const format::Superseded& line : superseded) {
        mark_dead_in(text, line);
    }
}

bool is_all_but_padding(std::string_view text, std::string_view lines) {
    return value::begins_with(text, lines) && text.find_first_not_of('\n', lines.size()) == std::string_view::npos;
}

/// Where a path leads.
std::string target_of(std::string path) {
    if (const Error error = follow_links(path)) {
        throw std::system_error(error.number, std::generic_category(), "link");
    }
    return path;
}

/// Who may not write a file, or not this one, may still be able to read it.
bool is_refusal(const Error& error) {
    return error.number == EACCES || error.number == EPERM || error.number == EROFS || error.number == EMLINK;
}

/// Reads the entries of a file's text, and makes the batches count that it holds.
void interpret(std::string&& text, Loaded& loaded) {
    std::vector<format::Superseded> comments;
    format::redo(text, loaded.fixes, comments);
    loaded.entries = std::make_shared<format::Entries>(std::move(text));
    loaded.layout = format::read_layout(*loaded.entries);
    for (const format::Superseded& comment : comments) {
        loaded.layout.supersede(comment);
    }
}

std::uint64_t even(std::uint64_t counter) {
    return counter - counter % 2;
}

}  // namespace

StoreFile::StoreFile(Kind kind, std::string path)
    : link_(std::move(path)),
      path_(kind == Kind::settings ? target_of(link_) : link_),
      folder_(folder_of(path_)),
      shared_(kind == Kind::settings ? std::make_unique<SharedState>(shared_state_path(path_)) : nullptr) {
    if (!shared_) {
        return;
    }
    look_at_path();
    // A failure here is met again, and reported, by the first write.
    if (!create_shared_state_directory(path_) && !shared_->open() && !shared_->lock(false)) {
        clean_up();
        unlock();
    }
}

bool StoreFile::leads_elsewhere() const {
    // A folder that has been moved with the link in it leads nowhere else.
    return target_of(link_) != path_ && exists(folder_of(link_));
}

std::shared_ptr<StoreFile> StoreFile::follow() const {
    auto file = std::make_shared<StoreFile>(Kind::settings, link_);
    file->has_been_seen_ = has_been_seen_.load();
    return file;
}

bool StoreFile::has_been_moved() const {
    return has_been_seen_ && !exists(folder_);
}

void StoreFile::look_for_links() {
    if (look_at_path()) {
        file_.close();
    }
}

Error StoreFile::look_at_path() {
    // Where nothing can be found out, nothing is known against the file.
    struct statx attributes {};
    const bool is_found = system::statx(path_.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &attributes) == 0;
    is_mounted_ = is_found && (attributes.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return is_found && S_ISLNK(attributes.stx_mode) ? error_of("statx", ESTALE) : Error();
}

Error StoreFile::clean_up() {
    if (shared_->held_counter() % 2 != 0) {
        if (const Error error = shared_->end_change()) {
            return error;
        }
    }
    remove_leftover(path_);
    return {};
}

Loaded StoreFile::load(Access access) const {
    Loaded loaded;
    ReadFile file;
    std::uint64_t counter = 0;
    if (!shared_ || access == Access::locked) {
        counter = shared_ ? shared_->held_counter() : 0;
        loaded.error = read_file(path_, O_RDONLY, file);
    } else if (!shared_->has_counter()) {
        loaded.error = read_file_at_rest(path_, file);
    } else {
        // What is read while the file is being changed may be half of a line.
        counter = shared_->counter();
        const bool is_changing = counter % 2 != 0;
        if (!is_changing) {
            loaded.error = read_file(path_, O_RDONLY, file);
        }
        std::atomic_thread_fence(std::memory_order_seq_cst);  // all has been read before the counter is, again
        if (is_changing || counter != shared_->counter()) {
            const SharedState::ReadLock lock(*shared_, access == Access::waiting);
            if (lock.is_refused()) {
                loaded.state = Loaded::State::busy;
                return loaded;
            }
            counter = shared_->counter();
            loaded.error = read_file(path_, O_RDONLY, file);
        }
    }
    if (shared_ && !loaded.error && file.exists && has_other_names(file.stamp())) {
        loaded.error = read_file_at_rest(path_, file);
    }
    if (!loaded.error && !file.exists && has_been_moved()) {
        loaded.error = error_of("open", ENOENT, Subject::folder);
    }
    if (loaded.error) {
        loaded.error = loaded.error.of(Subject::store_file);
        return loaded;
    }
    loaded.state = file.exists ? Loaded::State::present : Loaded::State::absent;
    loaded.revision = {even(counter), file.stamp()};
    interpret(std::move(file.text), loaded);
    return loaded;
}

void StoreFile::adopt(Loaded& loaded) {
    std::swap(layout_, loaded.layout);
    std::swap(fixes_, loaded.fixes);
    revision_ = loaded.revision;
    has_been_seen_ = !(revision_.stamp == Stamp{});
}

bool StoreFile::is_counted() const {
    return shared_ && shared_->has_counter() && !has_other_names(revision_.stamp);
}

bool StoreFile::is_current() const {
    if (!shared_) {
        return true;
    }
    return is_counted() ? even(shared_->counter()) == revision_.counter : is_stamp_of(path_, revision_.stamp);
}

Error StoreFile::lock() {
    is_stale_ = false;
    Error error = shared_->lock();
    if (error.number == ENOENT) {
        if (has_been_moved()) {
            return error_of("stat", ENOENT, Subject::folder);
        }
        error = create_shared_state_directory(path_);
        if (!error) {
            error = shared_->lock();
        }
    }
    if (error) {
        return error.of(Subject::shared_state);
    }
    try {
        if (shared_->held_counter() % 2 != 0) {
            error = clean_up();
        }
    } catch (...) {
        unlock();
        throw;
    }
    if (error) {
        unlock();
    }
    return error.of(Subject::shared_state);
}

void StoreFile::unlock() {
    shared_->unlock();
}

bool StoreFile::is_unchanged(const Revision& revision) const {
    return shared_->held_counter() == revision.counter && is_stamp_of(path_, revision.stamp);
}

Error StoreFile::begin_change() {
    next_ = revision_;
    return shared_->begin_change().of(Subject::shared_state);
}

Error StoreFile::end_change() {
    const Error error = shared_->end_change();
    if (error) {
        next_.stamp = unknown_stamp;
    } else {
        next_.counter = shared_->held_counter();
    }
    return error.of(Subject::shared_state);
}

void StoreFile::adopt_change() {
    revision_ = next_;
    has_been_seen_ = !(revision_.stamp == Stamp{});
}

bool StoreFile::must_rebuild(const format::Batch& batch) const {
    // What is written behind a last line without a line feed might spoil it.
    const bool is_spoiling = layout_.is_unterminated && std::any_of(batch.begin(), batch.end(), [](const auto& change) {
                                 return change.gives_value();
                             });
    return needs_rebuild_ || next_.stamp == Stamp{} || is_spoiling;
}

std::size_t StoreFile::most_text(const format::Batch& batch) const {
    return Writer::most_text(batch, layout_);
}

Applied StoreFile::apply(const format::Batch& batch, zelva_core_durability durability) {
    Applied applied;
    const bool is_wasteful = layout_.is_wasteful() && layout_.dead >= next_compaction_;
    if (must_rebuild(batch) || is_wasteful) {
        applied.error = rebuild(batch, Purpose::change, applied);
        if (!applied.error || applied.error.number == ESTALE || must_rebuild(batch)) {
            return finished(std::move(applied));
        }
        // Where the folder cannot be written or has no room, or the new file cannot be given what the old one has
        // besides its content, the file still can be written. Where the folder could not be flushed, a power loss
        // leaves one of two files, and both have the changes then.
        next_compaction_ = layout_.dead + page_size;
    }
    applied.error = write_in_place(durability, [&](Writer& writer) { return writer.apply(batch, applied.places); });
    return finished(std::move(applied));
}

Applied StoreFile::flush(bool is_checkpoint) {
    Applied applied;
    if (next_.stamp == Stamp{}) {
        return applied;  // there is no file
    }
    if (needs_rebuild_) {
        applied.error = rebuild({}, Purpose::change, applied);
        return finished(std::move(applied));
    }
    // A flush alone takes no right to write.
    Descriptor reading;
    applied.error = open();
    const bool may_only_read = is_refusal(applied.error) && !needs_rebuild_;
    if (may_only_read) {
        applied.error = open(O_RDONLY, reading);
    }
    if (applied.error) {
        return finished(std::move(applied));
    }
    const bool marks_lines = is_checkpoint && !may_only_read;
    has_changed_ = has_changed_ || marks_lines;
    applied.error = write(may_only_read ? reading : file_, ZELVA_CORE_DURABILITY_FULL,
                          [marks_lines](Writer& writer) { return marks_lines ? writer.checkpoint() : writer.flush(); });
    applied.error = applied.error.of(Subject::store_file);
    return applied;
}

bool StoreFile::is_untrimmed() const {
    return has_changed_ && (layout_.size > layout_.text_end || layout_.dead > 0 || needs_rebuild_);
}

void StoreFile::trim(bool is_last) {
    const auto rebuild_to_leave = [this] {
        Applied applied;
        return !rebuild({}, Purpose::close, applied);
    };
    constexpr std::size_t small_file = 262144;  // some milliseconds
    const bool is_small = layout_.text_end <= small_file;
    if (is_last && (is_small || needs_rebuild_) && rebuild_to_leave()) {
        return;
    }
    if (needs_rebuild_) {
        return;
    }
    write_in_place(ZELVA_CORE_DURABILITY_RELAXED, [&](Writer& writer) {
        // What may not have reached the disk would have to be flushed first.
        constexpr std::size_t most_lines = 1000;  // a millisecond's work
        const bool is_cheap = layout_.is_flushed && layout_.superseded.size() <= most_lines;
        const bool is_worth_it = is_cheap || (is_last && !is_small);
        const Error error = is_worth_it && has_superseded_lines() ? writer.checkpoint() : Error();
        return !error ? writer.trim() : error;
    });
    if (needs_rebuild_) {
        rebuild_to_leave();
    }
}

template <class Work>
Error StoreFile::write_in_place(zelva_core_durability durability, Work&& work) {
    const Error error = open();
    has_changed_ = has_changed_ || !error;
    return !error ? write(file_, durability, std::forward<Work>(work)) : error;
}

template <class Work>
Error StoreFile::write(const Descriptor& file, zelva_core_durability durability, Work&& work) {
    // Where memory runs out half way, or a change cannot be undone, only the file tells what it means.
    next_.stamp = unknown_stamp;
    Writer writer(file, layout_, durability);
    // Who may only read the file leaves that to others.
    Error error = &file == &file_ ? writer.redo(fixes_) : Error();
    if (!error) {
        if (&file == &file_) {
            fixes_.clear();
        }
        error = std::forward<Work>(work)(writer);
    }
    needs_rebuild_ |= writer.has_failed_to_flush();
    struct stat attributes {};
    if (!writer.must_be_read() && system::fstat(file.number(), &attributes) == 0) {
        next_.stamp = stamp_of(attributes);
    }
    return error;
}

Applied StoreFile::finished(Applied&& applied) {
    // A new file has found one in its place.
    is_stale_ = applied.error.number == ESTALE || applied.error.number == EEXIST;
    applied.error = applied.error.of(Subject::store_file);
    return std::move(applied);
}

Error StoreFile::open() {
    const Stamp& stamp = next_.stamp;
    if (file_.is_open() && is_same_file(opened_, stamp) && !is_mounted_) {
        return has_other_names(stamp) ? error_of("fstat", EMLINK) : Error();
    }
    Descriptor file;
    if (const Error error = open(O_RDWR, file)) {
        return error;
    }
    // Not before it is open: an overlay breaks its links then.
    if (has_other_names(stamp)) {
        return error_of("fstat", EMLINK);
    }
    file_ = std::move(file);
    opened_ = stamp;
    return {};
}

Error StoreFile::open(int access, Descriptor& file) {
    if (const Error error = look_at_path()) {
        return error;
    }
    file = Descriptor(system::open(path_.c_str(), access | open_flags));
    if (!file.is_open()) {
        return last_error("open");
    }
    struct stat attributes {};
    if (system::fstat(file.number(), &attributes) != 0) {
        return last_error("fstat");
    }
    if (!(next_.stamp == stamp_of(attributes))) {
        return error_of("fstat", ESTALE);
    }
    // Who has put the file in its place may have died before that reached the disk. A folder that cannot be read cannot
    // be flushed.
    if (const Error error = sync_folder(folder_); error && error.number != EACCES) {
        needs_rebuild_ = true;
        return error.of(Subject::folder);
    }
    return {};
}

Error StoreFile::rebuild(const format::Batch& batch, Purpose purpose, Applied& applied) {
    if (const Error error = look_at_path()) {
        return error;
    }
    // One that its owner has made read-only is not to be replaced, hence the access.
    ReadFile old;
    if (const Error error = read_file(path_, O_RDWR, old)) {
        return error;
    }
    if (!(next_.stamp == old.stamp())) {
        return error_of("fstat", ESTALE);
    }
    if (has_other_names(next_.stamp)) {
        return error_of("fstat", EMLINK);
    }
    std::vector<Attribute> attributes;
    if (const Error error = old.exists ? read_attributes(old.file, attributes) : Error()) {
        return error;
    }
    mark_superseded_in(old.text, layout_.superseded);
    std::string text = format::compacted(old.text, layout_.arranged_end, batch);
    if (purpose == Purpose::close && (!old.exists || is_all_but_padding(old.text, text))) {
        return error_of("", EALREADY);
    }
    if (purpose == Purpose::change) {
        text.resize(format::rounded_up(text.size(), page_size), '\n');
    }
    if (text.size() > INT_MAX) {
        return error_of("pwrite", EFBIG);
    }
    auto entries = std::make_shared<format::Entries>(std::move(text));
    format::Layout layout;
    if (purpose == Purpose::change) {
        layout = format::read_layout(*entries);
    }
    Replacement replacement(path_, std::move(attributes));
    const Error error = replace(replacement, old.exists ? &old.attributes : nullptr, purpose, entries->text(), layout);
    if (!error) {
        applied.entries = std::move(entries);
    }
    return error;
}

/// Puts a new file in place, and knows it from then on.
Error StoreFile::replace(Replacement& replacement, const struct stat* old, Purpose purpose, std::string_view text,
                         format::Layout& layout) {
    const bool is_to_be_written = purpose == Purpose::change;
    const Error error = replacement.replace(old, text, is_to_be_written, next_.stamp);
    if (replacement.has_failed_to_flush()) {
        needs_rebuild_ = true;
        layout_.is_flushed = false;
    }
    if (error) {
        return error;
    }
    // Its name may not have reached the disk after a close: whoever writes it next opens it anew, and flushes its
    // folder.
    file_ = is_to_be_written ? replacement.take() : Descriptor();
    opened_ = next_.stamp;
    has_changed_ = true;
    needs_rebuild_ = false;
    next_compaction_ = 0;
    fixes_.clear();
    std::swap(layout_, layout);
    layout_.arranged_end = layout_.text_end;
    layout_.is_flushed = is_to_be_written;
    layout_.is_truncation_durable = true;
    layout_.checkpoint_end = layout_.text_end;
    return {};
}

std::string StoreFile::path_of(Subject subject) const {
    switch (subject) {
        case Subject::folder:
            return folder_;
        case Subject::shared_state:
            return shared_->path();
        case Subject::settings_folder:
            return settings_directory();
        default:
            return path_;
    }
}

void StoreFile::forget_lock() {
    if (shared_) {
        shared_->forget_lock();
    }
}

}  // namespace zelva::file
