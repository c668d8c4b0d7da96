// A file that takes the place of another one as a whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "file/descriptor.h"
#include "file/paths.h"
#include "file/stamp.h"

namespace zelva::file {

/// Removes what a program that died while it was replacing the file has left beside it. REQUIRES: the store's lock.
void remove_leftover(const std::string& path);

/// An extended attribute of a file: an access list, a security label, or what a user has attached to it.
struct Attribute {
    std::string name;
    std::string value;
};

/// Reads the attributes that a file is to have which takes this one's place: all but those that are digests of its
/// content. No error on a file system that has none.
Error read_attributes(const Descriptor& file, std::vector<Attribute>& attributes);

/// A file under construction beside the one that it is to replace. REQUIRES: the store's lock, for as long as the
/// object lives; `path` leads over no link.
class Replacement {
  public:
    Replacement(const std::string& path, std::vector<Attribute> attributes);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// The new file, or else the one that it has replaced, is removed.
    ~Replacement();

    /// Gives the file its content, the mode and owner of the one that it replaces (nullptr: there is none) and its
    /// attributes, flushes it, puts it in place, and tells its stamp. If `is_to_be_written`, its place is on
    /// the disk then, too; otherwise a power loss leaves either file.
    ///
    /// On an error the old file is in place or, where not even that could be made so, the new
    /// one, and `stamp` is that of the old one. Takes no memory.
    Error replace(const struct stat* old, std::string_view text, bool is_to_be_written, Stamp& stamp);

    /// Whether the folder could not be flushed: then nobody knows which file a power loss would leave.
    bool has_failed_to_flush() const { return has_failed_to_flush_; }

    /// The open new file.
    Descriptor take() { return std::move(file_); }

  private:
    int rename(unsigned flags) const;
    Error set_attributes();
    Error fill(const struct stat* old, std::string_view text);
    void put_back(bool is_exchanged, const struct stat* old, Stamp& stamp) const;

    const std::string& path_;
    const std::string folder_;
    const std::string temporary_;
    const std::vector<Attribute> attributes_;
    std::string found_;  // as long as the longest value of them
    Descriptor file_;
    const Error open_error_;
    bool has_failed_to_flush_ = false;
};

}  // namespace zelva::file
