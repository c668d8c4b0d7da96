#include "file/store_file.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <string_view>
#include <system_error>
#include <utility>

#include "file/replacement.h"
#include "format/compaction.h"
#include "value/text.h"

namespace zelva::file {

namespace {

// Without O_NONBLOCK the open would wait for the other end of a FIFO.
constexpr int open_flags = O_CLOEXEC | O_NONBLOCK;

/// What is known of a file that has been read, and still is open. One that does not exist reads as empty.
struct Contents {
    Descriptor file;
    bool exists = false;
    struct stat attributes {};
    std::string text;
};

/// Whether a file is in the state of this stamp.
bool is_stamp_of(const std::string& path, const Stamp& stamp) {
    struct stat attributes {};
    return system::stat(path.c_str(), &attributes) == 0 ? stamp == stamp_of(attributes) : stamp == Stamp{};
}

/// Reads a file, opened as `access` says (O_RDONLY, O_RDWR). 0, also when it does not exist, or the errno of what
/// failed.
int read_file(const std::string& path, int access, Contents& contents) {
    contents = Contents();
    contents.file = Descriptor(system::open(path.c_str(), access | open_flags));
    if (!contents.file.is_open()) {
        return errno == ENOENT ? 0 : errno;
    }
    if (system::fstat(contents.file.number(), &contents.attributes) != 0) {
        return errno;
    }
    if (!S_ISREG(contents.attributes.st_mode)) {
        return EINVAL;
    }
    contents.exists = true;
    return read_all(contents.file, contents.text);
}

/// Reads a file that a program might be changing of which nothing is known but the file: until it reads the same twice.
int read_file_at_rest(const std::string& path, Contents& contents) {
    constexpr int most_attempts = 10;
    int error = read_file(path, O_RDONLY, contents);
    for (int attempt = 0; attempt < most_attempts && error == 0; ++attempt) {
        Contents again;
        error = read_file(path, O_RDONLY, again);
        std::swap(contents, again);
        if (contents.text == again.text) {
            break;
        }
    }
    return error;
}

/// Withdraws a line in a file's text, if it is still the line of its entry.
void mark_dead_in(std::string& text, const Superseded& line) {
    const bool is_line = line.offset < text.size() && (line.offset == 0 || text[line.offset - 1] == '\n');
    const auto found = is_line ? format::name_in(std::string_view(text).substr(line.offset, line.size)) : std::nullopt;
    if (found && format::hash_of_name(*found) == line.name) {
        text[line.offset] = format::dead_mark;
    }
}

bool is_all_but_padding(std::string_view text, std::string_view lines) {
    return value::begins_with(text, lines) && text.find_first_not_of('\n', lines.size()) == std::string_view::npos;
}

/// Where a path leads.
std::string target_of(std::string path) {
    if (const int error = follow_links(path)) {
        throw std::system_error(error, std::generic_category(), "link");
    }
    return path;
}

/// Who may not write a file, or not this one, may still be able to read it.
bool is_refusal(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == EMLINK;
}

}  // namespace

StoreFile::StoreFile(Kind kind, std::string path)
    : link_(std::move(path)),
      path_(kind == Kind::settings ? target_of(link_) : link_),
      shared_(kind == Kind::settings ? std::make_unique<SharedState>(shared_state_path(path_)) : nullptr) {
    if (!shared_) {
        return;
    }
    look_at_path();
    // A failure here is met again, and reported, by the first write.
    if (create_shared_state_directory(path_) == ZELVA_CORE_STATUS_NO_ERROR && shared_->open() == 0 &&
        shared_->lock(false) == 0) {
        clean_up();
        unlock();
    }
}

bool StoreFile::leads_elsewhere() const {
    // A folder that has been moved with the link in it leads nowhere else.
    struct stat folder {};
    return target_of(link_) != path_ && system::stat(folder_of(link_).c_str(), &folder) == 0;
}

bool StoreFile::has_been_moved(const Revision& revision) const {
    struct stat folder {};
    return !(revision.stamp == Stamp{}) && system::stat(folder_of(path_).c_str(), &folder) != 0;
}

void StoreFile::look_for_links() {
    if (look_at_path() != 0) {
        file_.close();
    }
}

int StoreFile::look_at_path() {
    // Where nothing can be found out, nothing is known against the file.
    struct statx attributes {};
    const bool is_found = system::statx(path_.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &attributes) == 0;
    is_mounted_ = is_found && (attributes.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return is_found && S_ISLNK(attributes.stx_mode) ? ESTALE : 0;
}

int StoreFile::clean_up() {
    if (shared_->held_counter() % 2 != 0) {
        if (const int error = shared_->end_change()) {
            return error;
        }
    }
    remove_leftover(path_);
    return 0;
}

std::optional<zelva_core_status> StoreFile::load(Access access, std::string& text, format::Entries& entries,
                                                 Revision& revision, Layout& layout) const {
    std::uint64_t counter = 0;
    Contents contents;
    int error = 0;
    if (!shared_ || access == Access::locked) {
        counter = shared_ ? shared_->held_counter() : 0;
        error = read_file(path_, O_RDONLY, contents);
    } else if (!shared_->has_counter()) {
        error = read_file_at_rest(path_, contents);
    } else {
        // What is read while the file is being changed may be half of a line.
        counter = shared_->counter();
        const bool is_changing = counter % 2 != 0;
        if (!is_changing) {
            error = read_file(path_, O_RDONLY, contents);
        }
        std::atomic_thread_fence(std::memory_order_seq_cst);  // all has been read before the counter is, again
        if (is_changing || counter != shared_->counter()) {
            const SharedState::ReadLock lock(*shared_, access == Access::waiting);
            if (lock.is_refused()) {
                return std::nullopt;
            }
            counter = shared_->counter();
            error = read_file(path_, O_RDONLY, contents);
        }
    }
    if (shared_ && error == 0 && contents.exists && has_other_names(stamp_of(contents.attributes))) {
        error = read_file_at_rest(path_, contents);
    }
    if (error != 0) {
        return status_of(error);
    }
    if (!contents.exists && has_been_moved(revision)) {
        return ZELVA_CORE_STATUS_IO_FAILED;
    }
    revision = {counter - counter % 2, contents.exists ? stamp_of(contents.attributes) : Stamp{}};
    text = std::move(contents.text);
    layout = format::read_layout(text, entries);
    return contents.exists ? ZELVA_CORE_STATUS_NO_ERROR : ZELVA_CORE_STATUS_SETTING_NOT_PRESENT;
}

bool StoreFile::is_counted(const Revision& revision) const {
    return shared_ && shared_->has_counter() && !has_other_names(revision.stamp);
}

bool StoreFile::is_current(const Revision& revision) const {
    if (!shared_) {
        return true;
    }
    if (!is_counted(revision)) {
        return is_stamp_of(path_, revision.stamp);
    }
    const std::uint64_t counter = shared_->counter();
    return counter - counter % 2 == revision.counter;
}

zelva_core_status StoreFile::lock(const Revision& revision) {
    is_stale_ = false;
    int error = shared_->lock();
    if (error == ENOENT) {
        if (has_been_moved(revision)) {
            return ZELVA_CORE_STATUS_IO_FAILED;
        }
        if (const zelva_core_status status = create_shared_state_directory(path_)) {
            return status;
        }
        error = shared_->lock();
    }
    if (error != 0) {
        return status_of(error);
    }
    try {
        if (shared_->held_counter() % 2 != 0) {
            error = clean_up();
        }
    } catch (...) {
        unlock();
        throw;
    }
    if (error != 0) {
        unlock();
    }
    return status_of(error);
}

void StoreFile::unlock() {
    shared_->unlock();
}

bool StoreFile::is_unchanged(const Revision& revision) const {
    return shared_->held_counter() == revision.counter && is_stamp_of(path_, revision.stamp);
}

zelva_core_status StoreFile::begin_change() {
    return status_of(shared_->begin_change());
}

zelva_core_status StoreFile::end_change(Revision& revision) {
    const int error = shared_->end_change();
    if (error == 0) {
        revision.counter = shared_->held_counter();
    } else {
        revision.stamp = unknown_stamp;
    }
    return status_of(error);
}

zelva_core_status StoreFile::apply(const std::vector<Change>& changes, zelva_core_durability durability, Layout& layout,
                                   Stamp& stamp, const Placed& placed) {
    // What is written behind a last line without a line feed might spoil it.
    const bool is_spoiling = layout.is_unterminated && changes.front().value;
    const bool must_rebuild = needs_rebuild_ || stamp == Stamp{} || is_spoiling;
    const bool is_wasteful = layout.is_wasteful() && layout.dead >= next_compaction_;
    if (must_rebuild || is_wasteful) {
        const int error = rebuild(changes, Purpose::change, layout, stamp, placed);
        if (error == 0 || error == ESTALE || must_rebuild) {
            return finish(error);
        }
        // Where the folder cannot be written or has no room, or the new file cannot be given what the old one has
        // besides its content, the file still can be written. Where the folder could not be flushed, a loss of power
        // leaves one of two files, and both have the changes then.
        next_compaction_ = layout.dead + page_size;
    }
    return finish(write_in_place(durability, layout, stamp, [&](Writer& writer) {
        return changes.front().value ? writer.put(changes, placed) : writer.remove(changes);
    }));
}

zelva_core_status StoreFile::flush(bool is_checkpoint, Layout& layout, Stamp& stamp, const Placed& placed) {
    if (stamp == Stamp{}) {
        return ZELVA_CORE_STATUS_NO_ERROR;  // there is no file
    }
    if (needs_rebuild_) {
        return finish(rebuild({}, Purpose::change, layout, stamp, placed));
    }
    // A flush alone takes no right to write.
    Descriptor reading;
    int error = open(stamp);
    const bool may_only_read = is_refusal(error) && !needs_rebuild_;
    if (may_only_read) {
        error = open(stamp, O_RDONLY, reading);
    }
    if (error != 0) {
        return finish(error);
    }
    const bool is_tidied = is_checkpoint && !may_only_read;
    has_changed_ = has_changed_ || is_tidied;
    return status_of(write(may_only_read ? reading : file_, ZELVA_CORE_DURABILITY_FULL, layout, stamp,
                           [is_tidied](Writer& writer) { return is_tidied ? writer.tidy() : writer.flush(); }));
}

bool StoreFile::has_line(const Place& line, std::string_view text) const {
    if (line.size != text.size()) {
        return false;
    }
    const Descriptor file(system::open(path_.c_str(), O_RDONLY | open_flags));
    std::string found(text.size(), '\0');
    return file.is_open() && read_at(file, line.offset, found.data(), found.size()) == 0 && found == text;
}

bool StoreFile::is_untidy(const Layout& layout) const {
    return has_changed_ && (layout.size > layout.text_end || layout.dead > 0 || needs_rebuild_);
}

void StoreFile::tidy(bool is_last, Layout& layout, Stamp& stamp) {
    const auto arrange = [&] {
        return rebuild({}, Purpose::close, layout, stamp, [](std::string_view, Place) {}) == 0;
    };
    constexpr std::size_t small_file = 262144;  // some milliseconds
    const bool is_small = layout.text_end <= small_file;
    if (is_last && (is_small || needs_rebuild_) && arrange()) {
        return;
    }
    if (needs_rebuild_) {
        return;
    }
    write_in_place(ZELVA_CORE_DURABILITY_RELAXED, layout, stamp, [&](Writer& writer) {
        // What may not have reached the disk would have to be flushed first.
        constexpr std::size_t most_lines = 1000;  // a millisecond's work
        const bool is_cheap = layout.is_flushed && layout.superseded.size() <= most_lines;
        const bool is_worth_it = is_cheap || (is_last && !is_small);
        const int error = is_worth_it && !layout.superseded.empty() ? writer.tidy() : 0;
        return error == 0 ? writer.trim_padding() : error;
    });
    if (needs_rebuild_) {
        arrange();
    }
}

template <class Work>
int StoreFile::write_in_place(zelva_core_durability durability, Layout& layout, Stamp& stamp, Work&& work) {
    const int error = open(stamp);
    has_changed_ = has_changed_ || error == 0;
    return error == 0 ? write(file_, durability, layout, stamp, std::forward<Work>(work)) : error;
}

template <class Work>
int StoreFile::write(const Descriptor& file, zelva_core_durability durability, Layout& layout, Stamp& stamp,
                     Work&& work) {
    // Where memory runs out half way, or a change cannot be undone, only the file tells what it means.
    stamp = unknown_stamp;
    Writer writer(file, layout, durability);
    const int error = std::forward<Work>(work)(writer);
    needs_rebuild_ |= writer.has_failed_to_flush();
    struct stat attributes {};
    if (!writer.must_be_read() && system::fstat(file.number(), &attributes) == 0) {
        stamp = stamp_of(attributes);
    }
    return error;
}

zelva_core_status StoreFile::finish(int error) {
    is_stale_ = error == ESTALE || error == EEXIST;  // a new file has found one in its place
    return status_of(error);
}

int StoreFile::open(const Stamp& stamp) {
    if (file_.is_open() && is_same_file(opened_, stamp) && !is_mounted_) {
        return has_other_names(stamp) ? EMLINK : 0;
    }
    Descriptor file;
    if (const int error = open(stamp, O_RDWR, file)) {
        return error;
    }
    // Not before it is open: an overlay breaks its links then.
    if (has_other_names(stamp)) {
        return EMLINK;
    }
    file_ = std::move(file);
    opened_ = stamp;
    return 0;
}

int StoreFile::open(const Stamp& stamp, int access, Descriptor& file) {
    if (const int error = look_at_path()) {
        return error;
    }
    file = Descriptor(system::open(path_.c_str(), access | open_flags));
    struct stat attributes {};
    if (!file.is_open() || system::fstat(file.number(), &attributes) != 0) {
        return errno;
    }
    if (!(stamp == stamp_of(attributes))) {
        return ESTALE;
    }
    // Who has put the file in its place may have died before that reached the disk. A folder that cannot be read cannot
    // be brought to the disk.
    if (const int error = sync_folder(folder_of(path_)); error != 0 && error != EACCES) {
        needs_rebuild_ = true;
        return error;
    }
    return 0;
}

int StoreFile::rebuild(const std::vector<Change>& changes, Purpose purpose, Layout& layout, Stamp& stamp,
                       const Placed& placed) {
    if (const int error = look_at_path()) {
        return error;
    }
    // One that its owner has made read-only is not to be replaced, hence the access.
    Contents old;
    if (const int error = read_file(path_, O_RDWR, old)) {
        return error;
    }
    if (!(stamp == (old.exists ? stamp_of(old.attributes) : Stamp{}))) {
        return ESTALE;
    }
    if (has_other_names(stamp)) {
        return EMLINK;
    }
    std::vector<Attribute> attributes;
    if (const int error = old.exists ? read_attributes(old.file, attributes) : 0) {
        return error;
    }
    // Among these may be the default of a key that could not be written, which no later line replaces.
    for (const Superseded& line : layout.superseded) {
        mark_dead_in(old.text, line);
    }
    format::Compacted result = format::compacted(old.text, layout.arranged_end, changes);
    if (purpose == Purpose::change) {
        result.text.resize(rounded_up(result.text.size(), page_size), '\n');
        result.layout.size = result.text.size();
    } else if (!old.exists || is_all_but_padding(old.text, result.text)) {
        return EALREADY;
    }
    if (result.text.size() > INT_MAX) {
        return EFBIG;
    }
    Replacement replacement(path_, std::move(attributes));
    const int error =
        replacement.replace(old.exists ? &old.attributes : nullptr, result.text, purpose == Purpose::change, stamp);
    if (replacement.has_failed_to_flush()) {
        needs_rebuild_ = true;
        layout.is_flushed = false;
    }
    if (error != 0) {
        return error;
    }
    // Its name may not have reached the disk after a close: whoever writes it next opens it anew, and flushes its
    // folder.
    file_ = purpose == Purpose::change ? replacement.take() : Descriptor();
    opened_ = stamp;
    has_changed_ = true;
    needs_rebuild_ = false;
    next_compaction_ = 0;
    layout = std::move(result.layout);
    layout.is_flushed = purpose == Purpose::change;
    layout.is_truncation_durable = true;
    layout.checkpoint_end = layout.text_end;
    for (const auto& [key, line] : result.places) {
        placed(key, line);
    }
    return 0;
}

void StoreFile::forget_lock() {
    if (shared_) {
        shared_->forget_lock();
    }
}

}  // namespace zelva::file
