#include "format/compaction.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>

#include "format/reader.h"
#include "value/text.h"

namespace zelva::format {

namespace {

/// A line of a text that is being compacted.
struct Kept {
    static constexpr std::size_t nothing = SIZE_MAX;

    std::string_view text;
    std::string_view name;  // empty for what is no entry
    std::size_t offset = 0;
    std::size_t shown = nothing;  // which line is to stand in its place
};

using Indexes = std::map<std::string_view, std::size_t>;

/// Dead lines by what is left of their names, and by their order.
using Homes = std::set<std::pair<std::string_view, std::size_t>>;

/// How many of a run of blank lines, which ends at `end`, a person has written.
std::size_t blanks_to_keep(std::size_t begin, std::size_t end, std::size_t arranged_end) {
    if (arranged_end != 0) {
        return begin < arranged_end ? std::min(end - begin, most_blanks) : 0;
    }
    // A line that does not fit into a sector begins the next one, or follows the line feed that does.
    const bool is_gap = end % sector_size <= 1;
    return is_gap ? 0 : std::min(end - begin, most_blanks);
}

std::vector<Kept> lines_to_keep(std::string_view text, std::size_t arranged_end, Homes& homes) {
    std::vector<Kept> lines;
    std::size_t blank = 0;  // where a run of blank lines begins
    Reader reader(text);
    for (Line line; reader.next(line);) {
        const Place place = line.place;
        if (line.kind == Kind::blank) {
            continue;
        }
        const std::size_t blanks = blanks_to_keep(blank, place.offset, arranged_end);
        blank = place.offset + place.size;
        for (std::size_t i = 0; i < blanks; ++i) {
            lines.push_back({"", "", place.offset, lines.size()});
        }
        if (line.kind == Kind::dead) {
            const std::size_t end = line.text.find('=', 1);
            if (end != std::string_view::npos && (arranged_end == 0 || place.offset < arranged_end)) {
                homes.emplace(value::without_trailing_blanks(line.text.substr(1, end - 1)), lines.size());
                lines.push_back({line.text, "", place.offset});
            }
        } else if (line.kind != Kind::damaged) {
            judge(line);
            lines.push_back({line.text, line.kind == Kind::entry ? line.name : "", place.offset, lines.size()});
        }
    }
    return lines;
}

/// Leaves only the last line of each name.
void drop_superseded(std::vector<Kept>& lines, Homes& homes, std::size_t arranged_end) {
    Indexes names;
    for (std::size_t i = lines.size(); i-- > 0;) {
        Kept& line = lines[i];
        if (!line.name.empty() && !names.emplace(line.name, i).second) {
            if (arranged_end == 0 || line.offset < arranged_end) {
                homes.emplace(line.name.substr(1), i);
            }
            line.shown = Kept::nothing;
            line.name = {};
        }
    }
}

/// Takes the entries that have been written behind `arranged_end` back to where their dead lines stand.
void arrange(std::vector<Kept>& lines, Homes& homes, std::size_t arranged_end) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Kept& line = lines[i];
        if (line.name.empty() || line.offset < arranged_end) {
            continue;
        }
        // Where names differ in their first bytes alone, each takes the first home that is left.
        const std::string_view rest = line.name.substr(1);
        const auto home = homes.lower_bound({rest, 0});
        if (home != homes.end() && home->first == rest && home->second < i) {
            lines[home->second].shown = i;
            line.shown = Kept::nothing;
            homes.erase(home);
        }
    }
}

/// Writes the lines that are kept, with what a batch changes of them.
class Compaction {
  public:
    Compaction(std::size_t size, const Batch& batch) : batch_(batch) {
        text_.reserve(size);
        for (std::size_t i = 0; i < batch.size(); ++i) {
            changes_.emplace(batch[i].name, i);
        }
    }

    /// In the order in which they are to stand.
    void add(const Kept& line) {
        if (line.text.empty()) {
            text_.append(text_.size() - end_ < most_blanks ? 1 : 0, '\n');
            return;
        }
        const std::size_t begin = text_.size();
        const auto change = line.name.empty() ? changes_.end() : changes_.find(line.name);
        if (change != changes_.end()) {
            text_ += batch_[change->second].line;
            changes_.erase(change);
        } else {
            text_ += line.text;
            text_ += '\n';
        }
        end_ = text_.size() > begin ? text_.size() : end_;
    }

    /// After the last line.
    std::string finish() {
        text_.resize(end_);
        for (const Change& change : batch_) {
            if (changes_.count(change.name) != 0) {
                text_ += change.line;
            }
        }
        return std::move(text_);
    }

  private:
    const Batch& batch_;
    Indexes changes_;  // those that have no place yet
    std::string text_;
    std::size_t end_ = 0;  // of the last line that is not blank
};

}  // namespace

std::string compacted(std::string_view text, std::size_t arranged_end, const Batch& batch) {
    Homes homes;
    std::vector<Kept> lines = lines_to_keep(text, arranged_end, homes);
    drop_superseded(lines, homes, arranged_end);
    arrange(lines, homes, arranged_end);
    Compaction compaction(rounded_up(text.size() + page_size, page_size), batch);
    for (const Kept& line : lines) {
        if (line.shown != Kept::nothing) {
            compaction.add(lines[line.shown]);
        }
    }
    return compaction.finish();
}

}  // namespace zelva::format
