#include "ledger.h"

#include <stdlib.h>
#include <sys/mman.h>
#include <zelva/settings.h>

#include <cstdio>
#include <new>
#include <optional>
#include <set>

#include "support.h"

namespace {

constexpr const char* shared_key = "everybody's";

std::string name_of(unsigned key) {
    return "own" + std::to_string(key);
}

/// Which of whose writes a value is.
struct Origin {
    char kind;  // 'k' of a key of one writer, 's' of everybody's
    unsigned whose;
    unsigned number;
};

/// Mostly short ones; some about as long as a sector, and some that need more than one write.
std::string text_of(const Origin& origin) {
    std::minstd_rand random(origin.whose * 7919 + origin.number + static_cast<unsigned>(origin.kind));
    random.discard(3);
    const auto below = [&random](unsigned most) { return static_cast<unsigned>(random()) % most; };
    std::string text = origin.kind + std::to_string(origin.whose) + 'n' + std::to_string(origin.number) + ':';
    const unsigned lot = below(16);
    const unsigned size = lot == 0 ? 600 + below(9000) : lot < 3 ? 420 + below(180) : below(60);
    text.reserve(text.size() + size);
    for (unsigned i = 0; i < size; ++i) {
        text += static_cast<char>('a' + below(26));
    }
    return text;
}

/// Nothing for what nobody can have written.
std::optional<Origin> origin_of(const std::string& text) {
    Origin origin{};
    if (std::sscanf(text.c_str(), "%c%un%u:", &origin.kind, &origin.whose, &origin.number) != 3 ||
        text != text_of(origin)) {
        return std::nullopt;
    }
    return origin;
}

bool is_removal(unsigned key, unsigned number) {
    return number > 1 && (number + key) % 9 == 0;
}

struct Read {
    zelva_core_status status;
    std::string text;
};

Read read_text(const std::string& key, bool is_default) {
    char* text = nullptr;
    const zelva_core_status status = is_default ? zelva_core_settings_get_default_string_value(key.c_str(), &text)
                                                : zelva_core_settings_get_string_value(key.c_str(), &text);
    Read read{status, text == nullptr ? "" : text};
    free(text);
    return read;
}

template <class T>
T* made_at(void* memory, std::size_t count) {
    T* const first = static_cast<T*>(memory);
    for (std::size_t i = 0; i < count; ++i) {
        new (first + i) T();
    }
    return first;
}

}  // namespace

Ledger::Ledger(unsigned keys, unsigned writers)
    : key_count_(keys), writer_count_(writers), size_(sizeof(Page) + keys * sizeof(Key) + writers * sizeof(Shared)) {
    void* const memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    page_ = made_at<Page>(memory, 1);
    // Those first that are to be aligned the most.
    shared_ = made_at<Shared>(page_ + 1, writers);
    keys_ = made_at<Key>(shared_ + writers, keys);
}

Ledger::~Ledger() {
    munmap(page_, size_);
}

void Ledger::fail(const std::string& what) {
    if (page_->failures++ == 0) {
        what.copy(page_->first_failure, sizeof page_->first_failure - 1);
    }
}

std::string Ledger::failures() const {
    return page_->failures == 0 ? "" : std::to_string(page_->failures) + ", the first: " + page_->first_failure;
}

void Ledger::raise(std::atomic<std::uint64_t>& number, std::uint64_t to) {
    for (std::uint64_t now = number; now < to && !number.compare_exchange_weak(now, to);) {
    }
}

void Ledger::write(unsigned key) {
    Key& entry = keys_[key];
    const std::uint32_t number = ++entry.begun;
    const std::string name = name_of(key);
    zelva_core_status status{};
    if (is_removal(key, number)) {
        status = zelva_core_settings_delete_key(name.c_str());
        // Every set since the last removal was one in which its writer has died.
        if (status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT && may_be_absent(key, entry.acknowledged, number - 1)) {
            status = ZELVA_CORE_STATUS_NO_ERROR;
        }
    } else {
        status = zelva_core_settings_set_string_value(name.c_str(), text_of({'k', key, number}).c_str());
    }
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        fail("write " + std::to_string(number) + " of " + name + " gives " + std::to_string(status));
        return;
    }
    if (is_removal(key, number)) {
        entry.removed = number;
    }
    entry.acknowledged = number;
}

bool Ledger::may_be_absent(unsigned key, std::uint32_t from, std::uint32_t to) const {
    if (from == 0) {
        return true;
    }
    for (std::uint32_t number = from; number <= to; ++number) {
        if (is_removal(key, number)) {
            return true;
        }
    }
    return false;
}

void Ledger::judge(unsigned key, bool is_default) {
    // What a key has is what some write left from the last acknowledged one on; a default, from the last removal on.
    const std::uint32_t acknowledged = keys_[key].acknowledged;
    const std::uint32_t from = is_default ? keys_[key].removed.load() : acknowledged;
    const Read read = read_text(name_of(key), is_default);
    const std::uint32_t to = keys_[key].begun;
    const std::string where = (is_default ? "default of " : "") + name_of(key) + " between its writes " +
                              std::to_string(acknowledged) + " and " + std::to_string(to) + ": ";
    if (read.status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT) {
        if (!may_be_absent(key, acknowledged, to)) {
            fail(where + "absent");
        }
        return;
    }
    if (read.status != ZELVA_CORE_STATUS_NO_ERROR) {
        fail(where + "status " + std::to_string(read.status));
        return;
    }
    const auto origin = origin_of(read.text);
    if (!origin || origin->kind != 'k' || origin->whose != key || origin->number > to ||
        is_removal(key, origin->number)) {
        fail(where + "torn: " + shown(read.text));
    } else if (origin->number < from) {
        fail(where + "stale: " + shown(read.text));
    }
}

void Ledger::check(unsigned key) {
    judge(key, false);
}

void Ledger::check_default(unsigned key) {
    judge(key, true);
}

void Ledger::write_shared(unsigned writer) {
    Shared& sets = shared_[writer];
    if (sets.begun + 1 == most_shared) {
        return;
    }
    const std::uint32_t number = ++sets.begun;
    const std::uint64_t begin = ++page_->clock;
    const zelva_core_status status =
        zelva_core_settings_set_string_value(shared_key, text_of({'s', writer, number}).c_str());
    if (status != ZELVA_CORE_STATUS_NO_ERROR) {
        fail("set of everybody's key gives " + std::to_string(status));
        return;
    }
    sets.end[number] = ++page_->clock;
    raise(page_->latest_begin, begin);
}

void Ledger::remove_shared() {
    ++page_->removals_begun;
    const zelva_core_status status = zelva_core_settings_delete_key(shared_key);
    if (status == ZELVA_CORE_STATUS_NO_ERROR) {
        raise(page_->latest_removal, ++page_->clock);
    } else if (status != ZELVA_CORE_STATUS_SETTING_NOT_PRESENT) {
        fail("delete of everybody's key gives " + std::to_string(status));
    }
    ++page_->removals_ended;
}

void Ledger::check_shared() {
    // A read is stale if what it finds had ended before another write began that was acknowledged before the read.
    const std::uint64_t latest_begin = page_->latest_begin;
    const std::uint32_t removals_ended = page_->removals_ended;
    const Read read = read_text(shared_key, false);
    if (read.status == ZELVA_CORE_STATUS_SETTING_NOT_PRESENT) {
        const bool is_being_removed = page_->removals_begun != removals_ended;
        if (!is_being_removed && page_->latest_removal < latest_begin) {
            fail("everybody's key is absent");
        }
        return;
    }
    if (read.status != ZELVA_CORE_STATUS_NO_ERROR) {
        fail("get of everybody's key gives " + std::to_string(read.status));
        return;
    }
    const auto origin = origin_of(read.text);
    if (!origin || origin->kind != 's' || origin->whose >= writer_count_ ||
        origin->number > shared_[origin->whose].begun) {
        fail("everybody's key is torn: " + shown(read.text));
        return;
    }
    const std::uint64_t end = shared_[origin->whose].end[origin->number];
    if (end != 0 && end < latest_begin) {
        fail("everybody's key is stale: " + shown(read.text));
    }
}

void Ledger::check_list() {
    std::vector<std::uint32_t> acknowledged(key_count_);
    for (unsigned key = 0; key < key_count_; ++key) {
        acknowledged[key] = keys_[key].acknowledged;
    }
    char** const list = zelva_core_settings_get_all_keys();
    if (list == nullptr) {
        fail("no list");
        return;
    }
    std::set<std::string> found;
    for (char** name = list; *name != nullptr; ++name) {
        if (!found.insert(*name).second) {
            fail("listed twice: " + shown(*name));
        }
    }
    zelva_core_free_string_array(list);
    found.erase(shared_key);
    for (unsigned key = 0; key < key_count_; ++key) {
        const bool is_listed = found.erase(name_of(key)) == 1;
        if (!is_listed && !may_be_absent(key, acknowledged[key], keys_[key].begun)) {
            fail("not listed: " + name_of(key));
        }
    }
    if (!found.empty()) {
        fail("listed: " + shown(*found.begin()));
    }
}

void Ledger::check_something(std::mt19937& random) {
    const auto key = static_cast<unsigned>(random() % key_count_);
    switch (random() % 16) {
        case 0:
            return check_list();
        case 1:
        case 2:
            return check_default(key);
        case 3:
        case 4:
        case 5:
            return check_shared();
        default:
            return check(key);
    }
}

void Ledger::work(unsigned writer, unsigned rounds, unsigned seed) {
    std::mt19937 random(seed);
    const bool is_to_be_killed = rounds == 0;
    for (unsigned round = 0; is_to_be_killed || round < rounds; ++round) {
        const auto lot = random() % 8;
        if (lot == 0) {
            write_shared(writer);
        } else if (lot == 1 && !is_to_be_killed) {
            remove_shared();
        } else {
            write(writer);
            check(writer);
        }
        check_something(random);
        page_->steps += is_to_be_killed ? 0 : 1;
    }
}

void Ledger::check_all() {
    for (unsigned key = 0; key < key_count_; ++key) {
        check(key);
        check_default(key);
    }
    check_shared();
    check_list();
}
