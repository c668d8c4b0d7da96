// Any bytes as a store's file, without a store around it: its entries are what the format says, what is known of its
// lines adds up, and it means the same when it is written anew, when its end is cut off, and when a line takes the
// place of withdrawn ones.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "format/compaction.h"
#include "format/dead_space.h"
#include "format/reader.h"
#include "reference.h"
#include "value/text.h"

namespace {

using fuzz::File;
using zelva::format::Kind;
using zelva::format::Layout;
using zelva::format::Place;

bool is_same(const File& left, const File& right) {
    return left.others == right.others && fuzz::is_same(left.entries, right.entries);
}

std::string_view line_at(std::string_view text, Place line) {
    CHECK(line.offset + line.size <= text.size());
    return text.substr(line.offset, line.size);
}

/// A value as it is written, and read again.
void check_writes(const std::string& name, const fuzz::Value& value) {
    CHECK(zelva::value::is_storable(value));
    const std::string text = zelva::format::line_of(name, value);
    CHECK(text.find('\n') == text.size() - 1);
    zelva::format::Entry entry;
    zelva::format::read_line(std::string_view(text).substr(0, text.size() - 1), entry);
    zelva::format::judge(entry);
    CHECK(entry.kind == Kind::entry && entry.name == name);
    const auto read = zelva::value::read_value(entry.value_text);
    CHECK(read && fuzz::is_same(*read, value));
}

/// Whether a text's last line is one of those that mean nothing, and has no line feed.
bool ends_in_other(const std::string& text, const File& file) {
    return !file.others.empty() && text.back() != '\n' && text.substr(text.rfind('\n') + 1) == file.others.back();
}

Layout check_read(const std::string& text, const File& file) {
    zelva::format::Entries entries{std::string(text)};
    const Layout layout = zelva::format::read_layout(entries);
    std::size_t lines = 0;
    std::size_t end = 0;
    std::size_t number = 0;
    zelva::format::Reader reader(text);
    for (zelva::format::Line line; reader.next(line);) {
        zelva::format::judge(line);
        lines += line.kind == Kind::entry ? 1 : 0;
        if (line.kind == Kind::no_value && file.entries.count(std::string(line.name)) == 0) {
            const auto [key, slot] = zelva::format::parse_name(line.name);
            CHECK(!entries.contains(key, slot) && !entries.place_of(key, slot));
        }
        CHECK(line.place.offset == end && line.number == ++number && line.column <= line.text.size());
        end += line.place.size;
    }
    CHECK(end == text.size());
    CHECK(lines == file.entries.size() + layout.superseded.size());
    std::vector<std::string_view> expected_keys;
    std::size_t live = 0;
    for (const auto& [name, value] : file.entries) {
        const auto [key, slot] = zelva::format::parse_name(name);
        zelva::value::Content held;
        CHECK(entries.find(key, slot, held) && fuzz::is_same(held.value(), value));
        const auto line = line_at(text, *entries.place_of(key, slot));
        CHECK(line.find('\n') >= line.size() - 1 && line.find(name) < line.find('='));
        live += line.size();
        if (!fuzz::is_reserved(name)) {
            expected_keys.push_back(name);
        }
    }
    std::vector<std::string_view> keys;
    entries.list("", [&keys](std::string_view key) { keys.push_back(key); });
    CHECK(keys == expected_keys);

    for (const std::string& line : file.others) {
        live += line.size() + 1;
    }
    CHECK(layout.size == text.size() && layout.text_end <= layout.size);
    CHECK(layout.live == live - (ends_in_other(text, file) ? 1 : 0));
    CHECK(layout.live + layout.dead == layout.text_end);
    return layout;
}

/// `text` is as it was read, and superseded lines are marked dead in it first.
void check_compacted(std::string text, const Layout& before, const File& file) {
    for (const Place& line : before.superseded) {
        text[line.offset] = zelva::format::dead_mark;
    }
    const std::string compacted = zelva::format::compacted(text, before.arranged_end, {});
    CHECK(is_same(fuzz::read_file(compacted), file));
    const Layout layout = check_read(compacted, file);
    CHECK(layout.text_end == compacted.size() && layout.arranged_end == layout.text_end);
    CHECK(layout.superseded.empty() && !layout.is_unterminated && !layout.is_damaged && !layout.is_wasteful());
}

/// What is done on a full disk.
void check_makes_room(const std::string& text, const File& file) {
    const std::size_t end = zelva::format::live_end(text);
    CHECK(end <= text.size());
    CHECK(end == text.size() || is_same(fuzz::read_file(text.substr(0, end)), file));

    // The longest line that finds room, which leaves none over.
    const std::string name = "a new key";
    const auto line = [&name](std::size_t size) { return name + " = S" + std::string(size, 'x') + '\n'; };
    const auto fitted = [&](std::size_t size) { return zelva::format::find_dead_space(text, line(size)); };
    auto patch = fitted(0);
    if (!patch || file.entries.count(name) != 0) {
        return;  // fuzzers learn what they are compared with
    }
    std::size_t size = 0;
    for (std::size_t too_long = zelva::format::sector_size; too_long - size > 1;) {
        const std::size_t middle = (size + too_long) / 2;
        if (auto longer = fitted(middle)) {
            patch = std::move(longer);
            size = middle;
        } else {
            too_long = middle;
        }
    }
    std::string patched = text;
    CHECK(patch->offset + patch->bytes.size() <= text.size());
    patched.replace(patch->offset, patch->bytes.size(), patch->bytes);
    CHECK(patched.compare(patch->line_offset, line(size).size(), line(size)) == 0);
    CHECK(patch->offset / zelva::format::sector_size ==
          (patch->offset + patch->bytes.size() - 1) / zelva::format::sector_size);
    File with_new = file;
    with_new.entries.emplace(name, std::string(size, 'x'));
    CHECK(is_same(fuzz::read_file(patched), with_new));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const File file = fuzz::read_file(text);
    check_compacted(text, check_read(text, file), file);
    check_makes_room(text, file);
    for (const auto& [name, value] : file.entries) {
        if (zelva::format::is_name(name)) {
            check_writes(name, value);
        }
    }
    return 0;
}
