// LMDB: one read transaction, renewed for each get so that it sees what was last written, or kept for all of them.
#include <lmdb.h>

#include <cstring>

#include "comparison.h"

namespace {

using bench::Durability;
using bench::require;

class Lmdb {
  public:
    static constexpr const char* name = "LMDB";
    static constexpr bool has_snapshots = true;

    Lmdb(const std::string& folder, const bench::Work& work) : work_(work), folder_(folder) {}

    void fill() {
        open(Durability::full);
        MDB_txn* transaction = begin();
        for (const std::size_t i : work_.by_name()) {
            if (work_.is_int(i)) {
                put(transaction, i, work_.number(i));
            } else {
                put(transaction, i, work_.text(i));
            }
        }
        expect(mdb_txn_commit(transaction));
        close();
    }

    void open(Durability durability) {
        expect(mdb_env_create(&environment_));
        expect(mdb_env_set_mapsize(environment_, std::size_t{1} << 30));
        // Without flushes, writing through the map is the fastest.
        const unsigned flags = durability == Durability::full ? 0 : MDB_NOSYNC | MDB_WRITEMAP;
        expect(mdb_env_open(environment_, folder_.c_str(), flags | MDB_NOTLS, 0644));
        MDB_txn* transaction = begin();
        expect(mdb_dbi_open(transaction, nullptr, MDB_CREATE, &database_));
        expect(mdb_txn_commit(transaction));
        expect(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &reading_));
        mdb_txn_reset(reading_);
    }
    void close() {
        mdb_txn_abort(reading_);
        mdb_env_close(environment_);
    }

    void begin_snapshot() {
        expect(mdb_txn_renew(reading_));
        has_snapshot_ = true;
    }
    void end_snapshot() {
        mdb_txn_reset(reading_);
        has_snapshot_ = false;
    }

    int get_int(std::size_t i) {
        int number = 0;
        find(i, [&](const MDB_val& value) { std::memcpy(&number, value.mv_data, sizeof number); });
        return number;
    }
    std::string get_string(std::size_t i) {
        // The text belongs to the transaction.
        std::string copy;
        find(i, [&](const MDB_val& value) { copy.assign(static_cast<const char*>(value.mv_data), value.mv_size); });
        return copy;
    }
    static std::string text(const std::string& string) { return string; }

    template <class T>
    void set(std::size_t i, const T& value) {
        MDB_txn* transaction = begin();
        put(transaction, i, value);
        expect(mdb_txn_commit(transaction));
    }

  private:
    static void expect(int status) { require(status == MDB_SUCCESS, mdb_strerror(status)); }

    // The library takes what it only reads through pointers that are not to const.
    static MDB_val bytes(const void* data, std::size_t size) { return {size, const_cast<void*>(data)}; }
    static MDB_val bytes(const std::string& text) { return bytes(text.data(), text.size()); }
    static MDB_val bytes(const int& number) { return bytes(&number, sizeof number); }

    MDB_txn* begin() {
        MDB_txn* transaction = nullptr;
        expect(mdb_txn_begin(environment_, nullptr, 0, &transaction));
        return transaction;
    }

    template <class T>
    void put(MDB_txn* transaction, std::size_t i, const T& value) {
        MDB_val key = bytes(work_.key(i));
        MDB_val data = bytes(value);
        expect(mdb_put(transaction, database_, &key, &data, 0));
    }

    template <class Use>
    void find(std::size_t i, Use&& use) {
        MDB_val key = bytes(work_.key(i));
        MDB_val value{};
        if (!has_snapshot_) {
            expect(mdb_txn_renew(reading_));
        }
        expect(mdb_get(reading_, database_, &key, &value));
        use(value);
        if (!has_snapshot_) {
            mdb_txn_reset(reading_);
        }
    }

    const bench::Work& work_;
    const std::string folder_;
    MDB_env* environment_ = nullptr;
    MDB_dbi database_ = 0;
    MDB_txn* reading_ = nullptr;
    bool has_snapshot_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<Lmdb>::main(argc, argv);
}
