// GLib's GKeyFile. It keeps nothing in the file by itself: a set is one with the saving of the whole, which writes a
// temporary file and renames it.
#include <glib.h>

#include <memory>

#include "comparison.h"

namespace {

using bench::Durability;
using bench::require;

struct Free {
    void operator()(gchar* memory) const { g_free(memory); }
};
using String = std::unique_ptr<gchar, Free>;

class KeyFile {
  public:
    static constexpr const char* name = "GKeyFile";
    static constexpr bool has_snapshots = false;

    KeyFile(const std::string& folder, const bench::Work& work) : work_(work), path_(folder + "/settings.ini") {}

    void fill() {
        file_ = g_key_file_new();
        for (const std::size_t i : work_.by_name()) {
            if (work_.is_int(i)) {
                put(i, work_.number(i));
            } else {
                put(i, work_.text(i));
            }
        }
        durability_ = Durability::full;
        save();
        close();
    }

    void open(Durability durability) {
        durability_ = durability;
        file_ = g_key_file_new();
        require(g_key_file_load_from_file(file_, path_.c_str(), G_KEY_FILE_NONE, nullptr), "g_key_file_load_from_file");
    }
    void close() { g_key_file_free(file_); }

    int get_int(std::size_t i) { return g_key_file_get_integer(file_, group, work_.key(i).c_str(), nullptr); }
    String get_string(std::size_t i) {
        return String(g_key_file_get_string(file_, group, work_.key(i).c_str(), nullptr));
    }
    static std::string text(const String& string) { return string ? string.get() : ""; }

    void set(std::size_t i, int number) {
        put(i, number);
        save();
    }
    void set(std::size_t i, const std::string& text) {
        put(i, text);
        save();
    }

  private:
    static constexpr const char* group = "General";

    void put(std::size_t i, int number) { g_key_file_set_integer(file_, group, work_.key(i).c_str(), number); }
    void put(std::size_t i, const std::string& text) {
        g_key_file_set_string(file_, group, work_.key(i).c_str(), text.c_str());
    }

    void save() {
        // Consistent, as g_key_file_save_to_file is: never half of the file, when the program ends meanwhile.
        const int flags = G_FILE_SET_CONTENTS_CONSISTENT |
                          (durability_ == Durability::full ? G_FILE_SET_CONTENTS_DURABLE : G_FILE_SET_CONTENTS_NONE);
        gsize size = 0;
        const String text(g_key_file_to_data(file_, &size, nullptr));
        require(g_file_set_contents_full(path_.c_str(), text.get(), static_cast<gssize>(size),
                                         static_cast<GFileSetContentsFlags>(flags), 0644, nullptr),
                "g_file_set_contents_full");
    }

    const bench::Work& work_;
    const std::string path_;
    Durability durability_ = Durability::full;
    GKeyFile* file_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<KeyFile>::main(argc, argv);
}
