// LevelDB, with the block cache and the filter that its documentation recommends for gets.
#include <leveldb/cache.h>
#include <leveldb/db.h>
#include <leveldb/filter_policy.h>
#include <leveldb/write_batch.h>

#include <cstring>
#include <memory>

#include "comparison.h"

namespace {

using bench::Durability;
using bench::require;

class LevelDb {
  public:
    static constexpr const char* name = "LevelDB";
    static constexpr bool has_snapshots = false;

    LevelDb(const std::string& folder, const bench::Work& work)
        : work_(work),
          folder_(folder),
          cache_(leveldb::NewLRUCache(64 << 20)),
          filter_(leveldb::NewBloomFilterPolicy(10)) {}

    void fill() {
        open(Durability::full);
        leveldb::WriteBatch batch;
        for (const std::size_t i : work_.by_name()) {
            const int number = work_.number(i);
            batch.Put(work_.key(i), work_.is_int(i) ? bytes(number) : leveldb::Slice(work_.text(i)));
        }
        expect(database_->Write(write_, &batch));
        close();
        // What is in the log is read when the store is opened, and brought into its final form then.
        open(Durability::full);
        database_->CompactRange(nullptr, nullptr);
        close();
    }

    void open(Durability durability) {
        leveldb::Options options;
        options.create_if_missing = true;
        options.block_cache = cache_.get();
        options.filter_policy = filter_.get();
        write_.sync = durability == Durability::full;
        leveldb::DB* database = nullptr;
        expect(leveldb::DB::Open(options, folder_, &database));
        database_.reset(database);
    }
    void close() { database_.reset(); }

    int get_int(std::size_t i) {
        int number = 0;
        const std::string value = get_string(i);
        require(value.size() == sizeof number, "the size of an int");
        std::memcpy(&number, value.data(), sizeof number);
        return number;
    }
    std::string get_string(std::size_t i) {
        std::string value;
        expect(database_->Get(read_, work_.key(i), &value));
        return value;
    }
    static std::string text(const std::string& string) { return string; }

    void set(std::size_t i, int number) { expect(database_->Put(write_, work_.key(i), bytes(number))); }
    void set(std::size_t i, const std::string& text) { expect(database_->Put(write_, work_.key(i), text)); }

  private:
    static void expect(const leveldb::Status& status) {
        if (!status.ok()) {
            bench::fail(status.ToString());
        }
    }

    static leveldb::Slice bytes(const int& number) {
        return leveldb::Slice(reinterpret_cast<const char*>(&number), sizeof number);
    }

    const bench::Work& work_;
    const std::string folder_;
    const std::unique_ptr<leveldb::Cache> cache_;
    const std::unique_ptr<const leveldb::FilterPolicy> filter_;
    const leveldb::ReadOptions read_;
    leveldb::WriteOptions write_;
    std::unique_ptr<leveldb::DB> database_;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::Comparison<LevelDb>::main(argc, argv);
}
