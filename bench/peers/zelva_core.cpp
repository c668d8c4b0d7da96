// The store of this project. Each key has a default, as every key has that the store was given by set.
#include "comparison.h"
#include "store.h"

namespace {

using bench::Durability;
using bench::expect;

class ZelvaCore {
  public:
    static constexpr const char* name = "zelva-core";
    static constexpr bool has_snapshots = false;

    ZelvaCore(const std::string& folder, const bench::Work& work) : work_(work) { bench::use_folder(folder); }

    void fill() {
        open(Durability::relaxed);
        bench::fill(work_);
        close();
    }

    void open(Durability durability) {
        expect(zelva_core_settings_init(bench::store_name));
        if (durability == Durability::relaxed) {
            expect(zelva_core_settings_set_durability(ZELVA_CORE_DURABILITY_RELAXED));
        }
    }
    void close() { expect(zelva_core_settings_deinit()); }

    int get_int(std::size_t i) { return bench::get_int(work_.key(i)); }
    bench::HandedOut get_string(std::size_t i) { return bench::get_string(work_.key(i)); }
    static std::string text(const bench::HandedOut& string) { return string.get(); }

    void set(std::size_t i, int number) { expect(zelva_core_settings_set_int_value(work_.key(i).c_str(), number)); }
    void set(std::size_t i, const std::string& text) {
        expect(zelva_core_settings_set_string_value(work_.key(i).c_str(), text.c_str()));
    }

  private:
    const bench::Work& work_;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<ZelvaCore>::main(argc, argv);
}
