#include "file/lines.h"

namespace zelva::file {

Layout read_layout(std::string_view text, const UseEntry& use) {
    Layout layout;
    layout.size = text.size();
    const bool has_damage = is_damage(text);
    bool has_withdrawn = false;
    for_each_line(text, [&](std::string_view line, Line place) {
        if (line.empty()) {
            return;
        }
        if (has_damage && is_damage(line)) {
            layout.is_damaged = true;
            return;
        }
        const std::size_t gap = place.offset - layout.text_end;
        layout.dead += gap;
        layout.text_end = place.offset + place.size;
        layout.is_damaged = false;
        layout.is_unterminated = line.size() == place.size;
        if (line[0] == withdrawn_mark) {
            layout.dead += place.size;
            has_withdrawn = true;
            return;
        }
        layout.live += place.size;
        if (auto entry = read_line(line)) {
            const std::string_view name = entry->key;
            if (const auto earlier = use(*std::move(entry), place)) {
                layout.replaced.push_back({*earlier, hash_of_name(name)});
                layout.live -= earlier->size;
                layout.dead += earlier->size;
            }
        }
    });
    // Otherwise a program may have left new lines behind the others.
    if (!has_damage && !has_withdrawn && layout.replaced.empty() && layout.size - layout.text_end <= most_blanks) {
        layout.arranged_end = layout.text_end;
    }
    return layout;
}

}  // namespace zelva::file
