#include "format/layout.h"

#include "format/reader.h"

namespace zelva::format {

Layout read_layout(Entries& entries) {
    const std::string_view text = entries.text();
    Layout layout;
    layout.size = text.size();
    bool has_dead = false;
    bool has_damage = false;
    Reader reader(text);
    for (Line line; reader.next(line);) {
        if (line.kind == Kind::blank) {
            continue;
        }
        layout.is_damaged = line.kind == Kind::damaged;
        if (layout.is_damaged) {
            has_damage = true;
            continue;
        }
        layout.dead += line.place.offset - layout.text_end;
        layout.text_end = line.place.offset + line.place.size;
        layout.is_unterminated = line.text.size() == line.place.size;
        if (line.kind == Kind::dead) {
            layout.dead += line.place.size;
            has_dead = true;
            continue;
        }
        layout.live += line.place.size;
        if (line.kind != Kind::entry) {
            continue;
        }
        if (const auto earlier = entries.add(line.name)) {
            layout.supersede({*earlier, hash_of_name(line.name)});
        }
    }
    // Otherwise a program may have left new lines behind the others.
    if (!has_damage && !has_dead && layout.superseded.empty() && layout.size - layout.text_end <= most_blanks) {
        layout.arranged_end = layout.text_end;
    }
    return layout;
}

}  // namespace zelva::format
