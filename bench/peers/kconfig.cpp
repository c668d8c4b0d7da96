// KDE's KConfig, on one file without the cascade of system-wide ones. A set is in the file after sync(), which writes a
// temporary file, flushes it and renames it; the loss of power is survived once the folder has been flushed too.
#include <KConfig>
#include <KConfigGroup>
#include <QCoreApplication>
#include <QString>
#include <memory>

#include "comparison.h"
#include "files.h"

namespace {

using bench::Durability;
using bench::require;

class Kde {
  public:
    static constexpr const char* name = "KConfig";
    static constexpr bool has_snapshots = false;

    Kde(const std::string& folder, const bench::Work& work) : work_(work), folder_(folder) {}

    void fill() {
        open(Durability::full);
        for (const std::size_t i : work_.by_name()) {
            if (work_.is_int(i)) {
                put(i, work_.number(i));
            } else {
                put(i, work_.text(i));
            }
        }
        save();
        close();
    }

    void open(Durability durability) {
        durability_ = durability;
        config_ = std::make_unique<KConfig>(QString::fromStdString(folder_ + "/settings.ini"), KConfig::SimpleConfig);
        group_ = config_->group("General");
    }
    void close() {
        group_ = KConfigGroup();
        config_.reset();
    }

    int get_int(std::size_t i) { return group_.readEntry(work_.key(i).c_str(), 0); }
    QString get_string(std::size_t i) { return group_.readEntry(work_.key(i).c_str(), QString()); }
    static std::string text(const QString& string) { return string.toStdString(); }

    void set(std::size_t i, int number) {
        put(i, number);
        save();
    }
    void set(std::size_t i, const std::string& text) {
        put(i, text);
        save();
    }

  private:
    void put(std::size_t i, int number) { group_.writeEntry(work_.key(i).c_str(), number); }
    void put(std::size_t i, const std::string& text) {
        group_.writeEntry(work_.key(i).c_str(), QString::fromStdString(text));
    }

    void save() {
        require(config_->sync(), "KConfig::sync");
        if (durability_ == Durability::full) {
            bench::flush_folder(folder_);
        }
    }

    const bench::Work& work_;
    const std::string folder_;
    Durability durability_ = Durability::full;
    std::unique_ptr<KConfig> config_;
    KConfigGroup group_;
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    return bench::Comparison<Kde>::main(argc, argv);
}
