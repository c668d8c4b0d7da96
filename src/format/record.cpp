#include "format/record.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

namespace zelva::format {

namespace {

constexpr std::string_view comment_begin = "#batch = ";
constexpr std::size_t checksum_digits = 16;

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

template <class Number>
bool read_number(std::string_view& text, Number& number, int base) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end == text.data()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
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
    std::size_t lines = 0;
    line.remove_prefix(comment_begin.size());
    if (!read_number(line, lines, 10) || line.size() < 2 + 2 * lines + checksum_digits || line[0] != ' ') {
        return std::nullopt;
    }
    line.remove_prefix(1);
    for (std::size_t i = 0; i < lines; ++i) {
        std::string_view digits = line.substr(0, 2);
        unsigned char byte = 0;
        if (!read_number(digits, byte, 16) || !digits.empty()) {
            return std::nullopt;
        }
        header.first_bytes += static_cast<char>(byte);
        line.remove_prefix(2);
    }
    std::string_view digits = line.substr(1, checksum_digits);
    if (line[0] != ' ' || !read_number(digits, header.checksum, 16) || !digits.empty()) {
        return std::nullopt;
    }
    line.remove_prefix(1 + checksum_digits);
    while (!line.empty()) {
        Header::Removed removed;
        if (line[0] != ' ') {
            return std::nullopt;
        }
        line.remove_prefix(1);
        if (!read_number(line, removed.offset, 10) || line.empty() || line[0] != ':') {
            return std::nullopt;
        }
        line.remove_prefix(1);
        if (!read_number(line, removed.name, 16)) {
            return std::nullopt;
        }
        header.removed.push_back(removed);
    }
    return header;
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

bool is_of_one_key(const Batch& batch) {
    return std::all_of(batch.begin(), batch.end(), [&batch](const Change& change) {
        return parse_name(change.name).key == parse_name(batch[0].name).key;
    });
}

Record record_of(const Batch& batch, std::size_t offset) {
    Header header;
    Record record;
    std::string lines;
    for (const Change& change : batch) {
        const std::size_t begin = lines.size();
        if (change.value) {
            write_line(change.name, *change.value, lines);
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
    std::string comment(comment_begin);
    comment += std::to_string(header.first_bytes.size());
    comment += ' ';
    for (const char byte : header.first_bytes) {
        write_hex(static_cast<unsigned char>(byte), 2, comment);
    }
    comment += ' ';
    write_hex(checksum_of(header, offset, dead_lines), checksum_digits, comment);
    for (const Header::Removed& removed : header.removed) {
        comment += ' ';
        comment += std::to_string(removed.offset);
        comment += ':';
        write_hex(removed.name, 8, comment);
    }
    comment += '\n';
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
