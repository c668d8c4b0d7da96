// Files that something has damaged: cut, overwritten, sectors lost or in the wrong place, bytes of another encoding.
// Whatever a file holds, it opens; each line that is whole, and the last of its key, reads its value; and a set and a
// restart change no other key.
#include <algorithm>
#include <numeric>

#include "simulated_disk.h"
#include "support.h"
#include "value/text.h"

using namespace std::string_literals;

BOOST_AUTO_TEST_SUITE(damage)

/// A line, and what it says; nothing for a comment, or a line that the store does not understand.
struct Row {
    std::string line;
    std::optional<Value> value = std::nullopt;

    std::string name() const { return line.substr(0, line.find(" = ")); }
};

const std::vector<Row> rows{
    {"# A comment, with = in it"},
    {"DEFAULT_s = SLiving room", "Living room"s},
    {"s = S a=b \\, \xC3\xA9 ", " a=b \\, \xC3\xA9 "s},
    {"DEFAULT_j = J[ 1, \"a\" ]", Json{"[ 1, \"a\" ]"}},
    {"j = J{ \"a\" : null }", Json{"{ \"a\" : null }"}},
    {"DEFAULT_i = I50", 50},
    {"i = I-42", -42},
    {""},
    {"; another comment"},
    {"DEFAULT_b = BFALSE", false},
    {"b = BTRUE", true},
    {"DEFAULT_d = D0.25", 0.25},
    {"d = D-1.5e+300", -1.5e300},
    {"DEFAULT_as = ASone,two\\,three,", (Strings{"one", "two,three", ""})},
    {"as = AS ", Strings{""}},
    {"DEFAULT_ai = AI1,-2", (Ints{1, -2})},
    {"ai = AI", Ints{}},
    {"a line that nobody understands"},
    {"DEFAULT_ab = ABTRUE,FALSE", (Bools{true, false})},
    {"ab = ABFALSE", Bools{false}},
    {"DEFAULT_ad = AD0.5,1e-07", (Doubles{0.5, 1e-7})},
    {"ad = AD3.023", Doubles{3.023}},
    {"# the end of the defaults"},
    {"Version = I19", 19},
    {"a key = S", ""s},
    {"k.1 = I1", 1},
    {"k.2 = I2", 2},
    {"k.1 = I3", 3},
    {"bad = X1"},
    {"z = D0", 0.0},
};

/// The rows so many times, each time with keys of their own, and a line that is longer than a sector.
std::vector<Row> repeated(int times) {
    std::vector<Row> all;
    for (int i = 0; i < times; ++i) {
        for (Row row : rows) {
            if (row.value) {
                row.line.insert(row.name().size(), "." + std::to_string(i));
            }
            all.push_back(row);
        }
        const std::string text(1200, static_cast<char>('a' + i));
        all.push_back({"long." + std::to_string(i) + " = S" + text, text});
    }
    return all;
}

std::string text_of(const std::vector<Row>& all) {
    return std::accumulate(all.begin(), all.end(), ""s,
                           [](const std::string& text, const Row& row) { return text + row.line + '\n'; });
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

/// Opens files that began as the same rows, and counts them.
class Damaged {
  public:
    explicit Damaged(const std::vector<Row>& all) {
        for (const Row& row : all) {
            rows_[row.line] = &row;
        }
    }
    ~Damaged() { BOOST_TEST_MESSAGE(count_ << " files"); }
    Damaged(const Damaged&) = delete;
    Damaged& operator=(const Damaged&) = delete;

    /// The test's first failure is its last.
    void check(const std::string& text, const std::string& what) {
        std::string problem;
        try {
            problem = problem_with(text);
        } catch (const std::exception& error) {
            problem = error.what();
        }
        BOOST_REQUIRE_MESSAGE(problem.empty(), what << ": " << problem << "\n" << abridged(text).substr(0, 5000));
    }

  private:
    std::string problem_with(const std::string& text) {
        simulated::disk = simulated::Disk(text);
        if (zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR) {
            return "is not opened";
        }
        struct Close {
            ~Close() { zelva_core_settings_deinit(); }
        } close;
        State state = state_of_store();
        const auto lines = last_lines(text);
        for (const auto& [key, entry] : state) {
            if (lines.count(key) == 0) {
                return "has the key " + shown(key) + ", which no line has";
            }
        }
        for (const auto& [name, value] : lines) {
            if (!value) {
                continue;
            }
            const std::string prefix = "DEFAULT_";
            const bool is_default = name.compare(0, prefix.size(), prefix) == 0;
            const auto found = state.find(is_default ? name.substr(prefix.size()) : name);
            if (is_default && (found == state.end() || found->second.value.index() != value->index())) {
                continue;  // the default of a key that is lost
            }
            if (found == state.end() || !((is_default ? found->second.default_value : found->second.value) == value)) {
                return "has lost " + name;
            }
        }

        // A new key, and another one each time that the file has, get values.
        const Row& changed = rows[++count_ % rows.size()];
        const std::string key = changed.name();
        const auto found = state.find(key);
        if (changed.value && found != state.end()) {
            const TypeFunctions& type = types()[found->second.value.index()];
            found->second.value = found->second.value == type.first ? type.second : type.first;
            if (type.set(key.c_str(), found->second.value) != ZELVA_CORE_STATUS_NO_ERROR) {
                return "does not let " + key + " be set";
            }
        }
        if (set("fresh", "new"s) != ZELVA_CORE_STATUS_NO_ERROR) {
            return "does not take a new key";
        }
        state["fresh"] = {"new"s, "new"s};
        const std::string before = "before:\n" + (state_of_store() == state ? "" : abridged(state));
        if (zelva_core_settings_deinit() != ZELVA_CORE_STATUS_NO_ERROR ||
            zelva_core_settings_init("test") != ZELVA_CORE_STATUS_NO_ERROR) {
            return "is not opened after a set";
        }
        const State after = state_of_store();
        if (!(after == state) || before != "before:\n") {
            return "has changed with a set to\n" + abridged(after) + "and not to\n" + abridged(state);
        }
        return lost_comment(text);
    }

    /// By name, what the last line says, if it is as it was: a damaged one may count, too. A line with a NUL is none.
    std::map<std::string, std::optional<Value>> last_lines(const std::string& text) const {
        std::map<std::string, std::optional<Value>> last;
        for (const std::string& line : lines_of(text)) {
            const std::size_t equals = line.find('=');
            const bool is_comment = line[0] == '#' || line[0] == ';';
            if (equals != std::string::npos && !is_comment && line.find('\0') == std::string::npos) {
                const std::string name(zelva::value::trimmed(std::string_view(line).substr(0, equals)));
                const auto row = rows_.find(line);
                last[name] = row == rows_.end() ? std::nullopt : row->second->value;
            }
        }
        return last;
    }

    /// A comment or rejected line of this file that is no longer in the one that the store has written.
    std::string lost_comment(const std::string& text) const {
        Strings now = lines_of(simulated::disk.text());
        std::sort(now.begin(), now.end());
        for (const std::string& line : lines_of(text)) {
            const auto row = rows_.find(line);
            if (row != rows_.end() && !row->second->value && !line.empty() &&
                !std::binary_search(now.begin(), now.end(), line)) {
                return "has lost the line: " + line;
            }
        }
        return "";
    }

    std::map<std::string, const Row*> rows_;
    std::size_t count_ = 0;
};

BOOST_AUTO_TEST_CASE(a_file_may_be_cut_anywhere) {
    Damaged files(rows);
    const std::string text = text_of(rows);
    for (std::size_t size = 0; size <= text.size(); ++size) {
        files.check(text.substr(0, size), "cut at " + std::to_string(size));
        files.check(text.substr(size), "without its first " + std::to_string(size));
    }
}

BOOST_AUTO_TEST_CASE(any_byte_may_have_become_any_other) {
    Damaged files(rows);
    const std::string text = text_of(rows);
    // Each byte becomes each of those that mean something, and every 16th of the others; in a release run all of them.
    const std::string special = "\0\t\n\r \"#,;=\\ABDIJS019{[\x7F\x80\xFF"s;
    const unsigned step = is_campaign() ? 1 : 16;
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const char c = static_cast<char>(byte);
            if (special.find(c) != std::string::npos || (byte + i) % step == 0) {
                std::string damaged = text;
                damaged[i] = c;
                files.check(damaged, "byte " + std::to_string(i) + " is " + shown(std::string(1, c)));
            }
        }
    }
}

BOOST_AUTO_TEST_CASE(any_sector_may_be_lost_or_in_the_place_of_another) {
    const std::vector<Row> all = repeated(5);
    Damaged files(all);
    const std::string text = text_of(all);
    constexpr std::size_t size = 512;
    for (std::size_t i = 0; i * size < text.size(); ++i) {
        const std::string where = "sector " + std::to_string(i);
        const std::string sector = text.substr(i * size, size);
        for (const char fill : {'\0', '\xFF', '\n'}) {
            files.check(std::string(text).replace(i * size, size, std::string(sector.size(), fill)),
                        where + " is filled with " + shown(std::string(1, fill)));
        }
        files.check(std::string(text).insert(i * size, sector), where + " is doubled");
        files.check(std::string(text).erase(i * size, size), where + " is left out");
        for (std::size_t j = i + 1; (j + 1) * size <= text.size(); ++j) {
            std::string swapped = text;
            swapped.replace(i * size, size, text, j * size, size).replace(j * size, size, sector);
            files.check(swapped, where + " is swapped with " + std::to_string(j));
        }
    }
}

BOOST_AUTO_TEST_CASE(NULs_may_follow) {
    Damaged files(rows);
    const std::string text = text_of(rows);
    for (std::size_t count = 1; count <= 4096; ++count) {
        const std::string tail(count, '\0');
        files.check(text + tail, std::to_string(count) + " NULs");
        files.check(text.substr(0, text.size() - 1 - count % 40) + tail, std::to_string(count) + " NULs in a line");
    }
}

BOOST_AUTO_TEST_CASE(a_file_may_be_of_another_encoding) {
    Damaged files(rows);
    const std::string text = text_of(rows);
    std::string crlf;
    std::string utf16 = "\xFF\xFE";
    for (const char c : text) {
        crlf += c == '\n' ? "\r\n" : std::string(1, c);
        (utf16 += c) += '\0';
    }
    files.check("\xEF\xBB\xBF" + text, "a byte-order mark");
    files.check("\xEF\xBB\xBF" + crlf, "a byte-order mark, and CR LF");
    files.check(crlf, "CR LF");
    files.check(utf16, "UTF-16");
    files.check(text + utf16 + text, "UTF-16 in the middle");
    std::replace(crlf.begin(), crlf.end(), '\n', '\r');
    files.check(crlf, "no line feed at all");

    // What a line says whose type allows text after the value.
    simulated::disk = simulated::Disk("i = I5\r\nd = D0.5\r\nb = BTRUE\r\ns = Sone\r\nas = ASone,two\r\n");
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK(
        state_of_store() ==
        (State{{"i", {5, {}}}, {"d", {0.5, {}}}, {"s", {"one\r"s, {}}}, {"as", {Strings{"one", "two\r"}, {}}}}));
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(a_line_may_be_of_many_mebibytes) {
    const std::string mebibytes((is_campaign() ? 64U : 8U) << 20U, 'x');
    for (const Row& row :
         {Row{"huge = S" + mebibytes, mebibytes}, Row{"# " + mebibytes}, Row{mebibytes + " = I1", 1}}) {
        std::vector<Row> all = rows;
        all.insert(all.begin() + 12, row);
        Damaged(all).check(text_of(all), row.line.substr(0, 10));
    }
}

BOOST_AUTO_TEST_CASE(there_may_be_a_million_lines) {
    const int count = 1'000'000;
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += 'k' + std::to_string(i) + " = I" + std::to_string(i) + '\n';
    }
    simulated::disk = simulated::Disk(text);
    BOOST_REQUIRE_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, zelva_core_settings_init("test"));
    BOOST_CHECK_EQUAL(ZELVA_CORE_STATUS_NO_ERROR, set("k500000", -1));
    OpenStore::restart();
    int wrong = 0;
    for (int i = 0; i < count; ++i) {
        int value = 0;
        zelva_core_settings_get_int_value(('k' + std::to_string(i)).c_str(), &value);
        wrong += value == (i == 500000 ? -1 : i) ? 0 : 1;
    }
    BOOST_CHECK_EQUAL(0, wrong);
    BOOST_CHECK_EQUAL(count, static_cast<int>(keys().size()));
    zelva_core_settings_deinit();
}

BOOST_AUTO_TEST_CASE(each_key_may_be_there_a_thousand_times) {
    Damaged files(rows);
    std::string text;
    for (int i = 0; i < 999; ++i) {
        for (const Row& row : rows) {
            text += row.value ? row.name() + (i % 2 == 0 ? " = I" : " = S") + std::to_string(i) + '\n' : "";
        }
    }
    files.check(text + text_of(rows), "a thousand lines of each key");
    for (int i = 0; i < 1000; ++i) {
        text += text_of(rows);
    }
    files.check(text, "the same line a thousand times");
}

BOOST_AUTO_TEST_SUITE_END()
