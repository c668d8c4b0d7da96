// What no store can do without: for a get, the look-up of the key in a hash table (and the string that is handed out);
// for a set, one write of a line into space that was already written and, if durable, one flush.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>

#include "comparison.h"
#include "files.h"
#include "store.h"

namespace {

using bench::Durability;
using bench::require;

class Floor {
  public:
    static constexpr const char* name = "floor";
    static constexpr bool has_snapshots = false;

    Floor(const std::string& folder, const bench::Work& work) : work_(work), path_(folder + "/lines") {
        for (const std::size_t i : work.by_name()) {
            Value& value = values_[work.key(i)];
            if (work.is_int(i)) {
                value.number = work.number(i);
            } else {
                value.text = work.text(i);
            }
        }
    }

    void fill() {}
    void open(Durability durability) {
        durability_ = durability;
        lines_ = std::make_unique<bench::BareLines>(path_);
    }
    void close() { lines_.reset(); }

    int get_int(std::size_t i) { return values_.find(work_.key(i))->second.number; }
    bench::HandedOut get_string(std::size_t i) {
        const std::string& text = values_.find(work_.key(i))->second.text;
        char* copy = static_cast<char*>(std::malloc(text.size() + 1));
        require(copy != nullptr, "malloc");
        std::memcpy(copy, text.c_str(), text.size() + 1);
        return bench::HandedOut(copy);
    }
    static std::string text(const bench::HandedOut& string) { return string.get(); }

    void set(std::size_t i, int number) {
        write(i, "I" + std::to_string(number));
        values_.find(work_.key(i))->second.number = number;
    }
    void set(std::size_t i, const std::string& text) {
        write(i, "S" + text);
        values_.find(work_.key(i))->second.text = text;
    }

  private:
    struct Value {
        int number = 0;
        std::string text;
    };

    void write(std::size_t i, const std::string& value) {
        lines_->write(i, work_.key(i) + " = " + value + "\n");
        if (durability_ == Durability::full) {
            lines_->flush();
        }
    }

    const bench::Work& work_;
    const std::string path_;
    std::unordered_map<std::string, Value> values_;
    Durability durability_ = Durability::full;
    std::unique_ptr<bench::BareLines> lines_;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<Floor>::main(argc, argv);
}
