// Qt's QSettings, in its INI format. A set is in the file after sync(), which writes a temporary file, flushes it and
// renames it; the loss of power is survived once the folder has been flushed too.
#include <QCoreApplication>
#include <QSettings>
#include <QString>
#include <memory>

#include "comparison.h"
#include "files.h"

namespace {

using bench::Durability;
using bench::require;

class QtSettings {
  public:
    static constexpr const char* name = "QSettings";
    static constexpr bool has_snapshots = false;

    QtSettings(const std::string& folder, const bench::Work& work) : work_(work), folder_(folder) {
        for (std::size_t i = 0; i < work.size(); ++i) {
            keys_.push_back(QString::fromStdString(work.key(i)));
        }
    }

    void fill() {
        open(Durability::full);
        for (const std::size_t i : work_.by_name()) {
            put(i);
        }
        save();
        close();
    }

    void open(Durability durability) {
        durability_ = durability;
        settings_ =
            std::make_unique<QSettings>(QString::fromStdString(folder_ + "/settings.ini"), QSettings::IniFormat);
    }
    void close() { settings_.reset(); }

    int get_int(std::size_t i) { return settings_->value(keys_[i]).toInt(); }
    QString get_string(std::size_t i) { return settings_->value(keys_[i]).toString(); }
    static std::string text(const QString& string) { return string.toStdString(); }

    void set(std::size_t i, int number) {
        settings_->setValue(keys_[i], number);
        save();
    }
    void set(std::size_t i, const std::string& text) {
        settings_->setValue(keys_[i], QString::fromStdString(text));
        save();
    }

  private:
    void put(std::size_t i) {
        if (work_.is_int(i)) {
            settings_->setValue(keys_[i], work_.number(i));
        } else {
            settings_->setValue(keys_[i], QString::fromStdString(work_.text(i)));
        }
    }

    void save() {
        settings_->sync();
        require(settings_->status() == QSettings::NoError, "QSettings::sync");
        if (durability_ == Durability::full) {
            bench::flush_folder(folder_);
        }
    }

    const bench::Work& work_;
    const std::string folder_;
    std::vector<QString> keys_;
    Durability durability_ = Durability::full;
    std::unique_ptr<QSettings> settings_;
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    return bench::Comparison<QtSettings>::main(argc, argv);
}
