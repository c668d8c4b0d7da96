// The lines of a settings file, in order.
#pragma once

#include <algorithm>
#include <string_view>

#include "format/line.h"

namespace zelva::format {

/// A line of a text, which it refers to.
struct Line : Entry {
    std::string_view text;  // without its line feed
    Place place;
    std::size_t number = 0;  // from 1
};

/// Reads a text line by line. A last line without a line feed counts as well.
class Reader {
  public:
    /// The text must outlive the reader, and the lines that it has read.
    explicit Reader(std::string_view text) : text_(text), has_damage_(is_damaged(text)) {}

    /// Reads the next line. false where there is none.
    bool next(Line& line) {
        if (offset_ == text_.size()) {
            return false;
        }
        // Padding has many blank lines.
        const std::size_t end = text_[offset_] == '\n' ? offset_ : std::min(text_.find('\n', offset_), text_.size());
        const std::size_t next = std::min(end + 1, text_.size());
        line.text = text_.substr(offset_, end - offset_);
        line.place = {static_cast<std::uint32_t>(offset_), static_cast<std::uint32_t>(next - offset_)};
        ++line.number;
        offset_ = next;
        if (has_damage_ && is_damaged(line.text)) {
            line.kind = Kind::damaged;
            line.column = line.text.find('\0');
        } else {
            read_line(line.text, line);
        }
        return true;
    }

  private:
    const std::string_view text_;
    const bool has_damage_;
    std::size_t offset_ = 0;
};

}  // namespace zelva::format
