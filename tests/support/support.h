// What the store's own tests share: a settings folder of their own, files written by hand, an open store, and reports.
#pragma once

#define BOOST_TEST_DYN_LINK
#include <zelva/configuration.h>
#include <zelva/settings.h>

#include <boost/test/unit_test.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "folder.h"
#include "types.h"

std::string store_path(const std::string& name = "test");
std::string configuration_path(const std::string& name = "test");

/// The file that programs share which have the store "test" open.
std::string shared_state_path();

void write_file(const std::string& path, const std::string& text);
std::string read_file(const std::string& path);

/// Whether this is a release run (scripts/campaign): the same checks at a larger size.
bool is_campaign();

// Preconditions of tests. Each says which test it leaves out, and why.

/// Whether root runs the test.
boost::test_tools::assertion_result is_root(boost::unit_test::test_unit_id);

/// Whether there is a locale with a decimal comma; the build makes one where the system can.
boost::test_tools::assertion_result has_comma_locale(boost::unit_test::test_unit_id);

/// Whether files of the settings folder can have extended attributes and access lists. A precondition of tests.
boost::test_tools::assertion_result has_attributes(boost::unit_test::test_unit_id);

/// The line of an entry, without its line feed. Where it stands does not matter to what it says.
struct EntryLine {
    std::string text;
    std::size_t offset = 0;
};
inline bool operator==(const EntryLine& left, const EntryLine& right) {
    return left.text == right.text;
}

/// What the file of the store "test" says to any reader of the format: of each name the last line. A default without
/// its key means nothing.
std::map<std::string, EntryLine> lines_of_file();

std::size_t number_of_open_files();

/// Turns NULs and other bytes that a report would lose into escapes.
std::string shown(const std::string& text);

/// The store "test", opened on a file with this text.
class OpenStore {
  public:
    explicit OpenStore(const std::string& text = "");
    ~OpenStore();
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;

    static void restart();
    /// The file's text, but for withdrawn lines and the padding.
    static std::string file();
};

/// The value that a get hands out; a failed check when it hands out none.
Value value_of(const std::string& key);

/// A state with long values shortened, and a text with runs of one byte as their number.
std::string abridged(const State& state);
std::string abridged(const std::string& text);

/// Names in the settings folder, sorted, but for the hidden folder that the library keeps there.
Strings names_in_folder();

namespace zelva::value {
/// For the reports of failed checks.
std::ostream& boost_test_print_type(std::ostream& out, const Value& value);
}  // namespace zelva::value
