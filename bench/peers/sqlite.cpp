// SQLite: one table by key, statements prepared once, write-ahead log.
#include <sqlite3.h>

#include "comparison.h"

namespace {

using bench::Durability;
using bench::require;

class Sqlite {
  public:
    static constexpr const char* name = "SQLite";
    static constexpr bool has_snapshots = true;

    Sqlite(const std::string& folder, const bench::Work& work) : work_(work), path_(folder + "/settings.sqlite") {}

    void fill() {
        open(Durability::full);
        run("BEGIN");
        for (const std::size_t i : work_.by_name()) {
            if (work_.is_int(i)) {
                set(i, work_.number(i));
            } else {
                set(i, work_.text(i));
            }
        }
        run("COMMIT");
        close();
    }

    void open(Durability durability) {
        require(sqlite3_open(path_.c_str(), &database_) == SQLITE_OK, "sqlite3_open");
        run("PRAGMA journal_mode = WAL");
        run(durability == Durability::full ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = OFF");
        run("CREATE TABLE IF NOT EXISTS settings (key TEXT PRIMARY KEY, value) WITHOUT ROWID");
        get_ = prepare("SELECT value FROM settings WHERE key = ?1");
        set_ = prepare("INSERT INTO settings VALUES (?1, ?2) ON CONFLICT (key) DO UPDATE SET value = ?2");
    }
    void close() {
        sqlite3_finalize(get_);
        sqlite3_finalize(set_);
        require(sqlite3_close(database_) == SQLITE_OK, "sqlite3_close");
    }

    void begin_snapshot() { run("BEGIN"); }
    void end_snapshot() { run("COMMIT"); }

    int get_int(std::size_t i) {
        find(i);
        const int number = sqlite3_column_int(get_, 0);
        sqlite3_reset(get_);
        return number;
    }
    std::string get_string(std::size_t i) {
        find(i);
        // The text belongs to the statement, which has to be reset.
        const void* text = sqlite3_column_blob(get_, 0);
        std::string copy(static_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(get_, 0)));
        sqlite3_reset(get_);
        return copy;
    }
    static std::string text(const std::string& string) { return string; }

    void set(std::size_t i, int number) {
        sqlite3_bind_int(set_, 2, number);
        change(i);
    }
    void set(std::size_t i, const std::string& text) {
        sqlite3_bind_text(set_, 2, text.data(), static_cast<int>(text.size()), nullptr);
        change(i);
    }

  private:
    void run(const char* statement) {
        require(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
    }

    sqlite3_stmt* prepare(const char* statement) {
        sqlite3_stmt* prepared = nullptr;
        require(
            sqlite3_prepare_v3(database_, statement, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr) == SQLITE_OK,
            statement);
        return prepared;
    }

    void bind_key(sqlite3_stmt* statement, std::size_t i) {
        const std::string& key = work_.key(i);
        sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()), nullptr);
    }

    void find(std::size_t i) {
        bind_key(get_, i);
        require(sqlite3_step(get_) == SQLITE_ROW, "SELECT");
    }

    void change(std::size_t i) {
        bind_key(set_, i);
        require(sqlite3_step(set_) == SQLITE_DONE, "INSERT");
        sqlite3_reset(set_);
    }

    const bench::Work& work_;
    const std::string path_;
    sqlite3* database_ = nullptr;
    sqlite3_stmt* get_ = nullptr;
    sqlite3_stmt* set_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<Sqlite>::main(argc, argv);
}
