// What no store can do without: for a get, the look-up of the key in a hash table (and the string that is handed out);
// for a set, one write of a line into space that was already written and, if durable, one flush.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "comparison.h"
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

    void fill() {
        const int file = ::open(path_.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
        const std::string lines(work_.size() * line_size, '\n');
        require(file >= 0, "open");
        require(::write(file, lines.data(), lines.size()) == static_cast<ssize_t>(lines.size()), "write");
        require(::fsync(file) == 0 && ::close(file) == 0, "fsync");
    }

    void open(Durability durability) {
        durability_ = durability;
        file_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        require(file_ >= 0, "open");
    }
    void close() { require(::close(file_) == 0, "close"); }

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

    /// Room for a line of the work; no line lies in two sectors.
    static constexpr std::size_t line_size = 64;

    void write(std::size_t i, const std::string& value) {
        const std::string line = work_.key(i) + " = " + value + "\n";
        const off_t offset = static_cast<off_t>(i * line_size);
        require(::pwrite(file_, line.data(), line.size(), offset) == static_cast<ssize_t>(line.size()), "pwrite");
        require(durability_ == Durability::relaxed || ::fdatasync(file_) == 0, "fdatasync");
    }

    const bench::Work& work_;
    const std::string path_;
    std::unordered_map<std::string, Value> values_;
    Durability durability_ = Durability::full;
    int file_ = -1;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<Floor>::main(argc, argv);
}
