#include "format/batch_record.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "value/text.h"

namespace zelva::format {

namespace {

constexpr std::string_view comment_begin = "#batch = ";
constexpr std::size_t checksum_digits = 16;
constexpr std::size_t place_digits = 8;  // and those of a digest
constexpr std::size_t byte_digits = 2;

/// FNV-1a of 64 bits: any of them tells an unfinished record from a whole one.
/// http://www.isthe.com/chongo/tech/comp/fnv
class Checksum {
  public:
    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            add(static_cast<unsigned char>(byte));
        }
    }
    void add_number(std::uint64_t number) {
        for (unsigned shift = 0; shift < 64; shift += 8) {
            add(static_cast<unsigned char>(number >> shift));
        }
    }
    std::uint64_t value() const { return value_; }

  private:
    void add(unsigned char byte) { value_ = (value_ ^ byte) * 0x100000001b3; }

    std::uint64_t value_ = 0xcbf29ce484222325;
};

std::uint32_t digest_of(std::string_view name) {
    Checksum checksum;
    checksum.add(name);
    return static_cast<std::uint32_t>(checksum.value());
}

void write_hex(std::uint64_t number, std::size_t digits, std::string& out) {
    for (std::size_t i = digits; i-- > 0;) {
        out += "0123456789abcdef"[number >> (4 * i) & 15U];
    }
}

/// Reads so many digits, which are the beginning of `text`. They are taken off it.
bool read_hex(std::string_view& text, std::size_t digits, std::uint64_t& number) {
    number = 0;
    if (text.size() < digits) {
        return false;
    }
    for (const char c : text.substr(0, digits)) {
        const std::size_t digit = std::string_view("0123456789abcdef").find(c);
        if (digit == std::string_view::npos) {
            return false;
        }
        number = number << 4U | digit;
    }
    text.remove_prefix(digits);
    return true;
}

bool read_blank(std::string_view& text) {
    const bool is_blank = value::begins_with(text, " ");
    text.remove_prefix(is_blank ? 1 : 0);
    return is_blank;
}

/// What a comment says.
struct Header {
    std::string first_bytes;  // of the lines
    std::uint64_t checksum = 0;
    struct Removed {
        std::size_t offset = 0;
        std::uint32_t name = 0;  // its digest
    };
    std::vector<Removed> removed;
};

std::optional<Header> read_header(std::string_view line) {
    Header header;
    std::uint64_t number = 0;
    line.remove_prefix(comment_begin.size());
    if (!read_hex(line, checksum_digits, header.checksum) || !read_blank(line)) {
        return std::nullopt;
    }
    while (!line.empty() && line[0] != ' ') {
        if (!read_hex(line, byte_digits, number)) {
            return std::nullopt;
        }
        header.first_bytes += static_cast<char>(number);
    }
    while (!line.empty()) {
        Header::Removed removed;
        if (!read_blank(line) || !read_hex(line, place_digits, number)) {
            return std::nullopt;
        }
        removed.offset = number;
        if (!read_hex(line, place_digits, number)) {
            return std::nullopt;
        }
        removed.name = static_cast<std::uint32_t>(number);
        header.removed.push_back(removed);
    }
    return header;
}

std::string text_of(const Header& header) {
    std::string text(comment_begin);
    write_hex(header.checksum, checksum_digits, text);
    text += ' ';
    for (const char byte : header.first_bytes) {
        write_hex(static_cast<unsigned char>(byte), byte_digits, text);
    }
    for (const Header::Removed& removed : header.removed) {
        text += ' ';
        write_hex(removed.offset, place_digits, text);
        write_hex(removed.name, place_digits, text);
    }
    text += '\n';
    return text;
}

std::uint64_t checksum_of(const Header& header, std::size_t offset, std::string_view dead_lines) {
    Checksum checksum;
    checksum.add_number(offset);
    checksum.add(header.first_bytes);
    for (const Header::Removed& removed : header.removed) {
        checksum.add_number(removed.offset);
        checksum.add_number(removed.name);
    }
    checksum.add(dead_lines);
    return checksum.value();
}

/// The lines of a record, dead, and where each begins. Nothing where the text has fewer.
std::optional<std::string> dead_lines_of(std::string_view text, std::size_t begin, std::size_t count,
                                         std::vector<std::size_t>& offsets) {
    std::string lines;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t end = text.find('\n', begin);
        if (end == std::string_view::npos || end == begin) {
            return std::nullopt;
        }
        offsets.push_back(begin);
        lines += dead_mark;
        lines += text.substr(begin + 1, end - begin);
        begin = end + 1;
    }
    return lines;
}

/// Whether the line of an entry still stands where a batch has found it: a person may have edited the file.
bool is_line_of(std::string_view text, std::size_t offset, std::uint32_t name) {
    const bool is_line = offset < text.size() && (offset == 0 || text[offset - 1] == '\n');
    const auto found = is_line ? name_in(text.substr(offset, text.find('\n', offset) - offset)) : std::nullopt;
    return found && digest_of(*found) == name;
}

}  // namespace

bool is_of_one_key(const Change* begin, const Change* end) {
    return end - begin == 1 || std::all_of(begin, end, [begin](const Change& change) {
               return parse_name(change.name).key == parse_name(begin->name).key;
           });
}

BatchRecord record_of(const Batch& batch, std::size_t offset) {
    Header header;
    BatchRecord record;
    std::string lines;
    for (const Change& change : batch) {
        const std::size_t begin = lines.size();
        if (change.gives_value()) {
            lines += change.line;
            header.first_bytes += lines[begin];
        } else if (change.place) {
            header.removed.push_back({change.place->offset, digest_of(change.name)});
        }
        record.places.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(lines.size() - begin)});
    }
    std::string dead_lines = lines;
    for (const Place& place : record.places) {
        if (place.size > 0) {
            dead_lines[place.offset] = dead_mark;
        }
    }
    header.checksum = checksum_of(header, offset, dead_lines);
    const std::string comment = text_of(header);
    record.comment = {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(comment.size())};
    for (Place& place : record.places) {
        place.offset += static_cast<std::uint32_t>(offset + comment.size());
    }
    record.text = comment + dead_lines;
    record.live = comment + lines;
    return record;
}

void redo(std::string& text, std::vector<Fix>& fixes, std::vector<Superseded>& superseded) {
    const auto fix = [&](std::size_t offset, char byte) {
        if (text[offset] != byte) {
            text[offset] = byte;
            fixes.push_back({offset, byte});
        }
    };
    for (std::size_t begin = text.find(comment_begin); begin != std::string::npos;
         begin = text.find(comment_begin, begin + 1)) {
        const std::size_t end = text.find('\n', begin);
        if ((begin > 0 && text[begin - 1] != '\n') || end == std::string::npos) {
            continue;
        }
        const std::string_view line = std::string_view(text).substr(begin, end - begin);
        const std::optional<Header> header = read_header(line);
        if (!header) {
            continue;
        }
        superseded.push_back({{static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end + 1 - begin)},
                              hash_of_name(*name_in(line))});
        std::vector<std::size_t> offsets;
        const auto lines = dead_lines_of(text, end + 1, header->first_bytes.size(), offsets);
        if (!lines || checksum_of(*header, begin, *lines) != header->checksum) {
            continue;  // it has not reached the disk as a whole
        }
        for (std::size_t i = 0; i < offsets.size(); ++i) {
            fix(offsets[i], header->first_bytes[i]);
        }
        for (const Header::Removed& removed : header->removed) {
            if (is_line_of(text, removed.offset, removed.name)) {
                fix(removed.offset, dead_mark);
            }
        }
    }
}

}  // namespace zelva::format
