#include "increments.h"

#include <semaphore.h>
#include <sys/mman.h>

#include <array>
#include <new>

#include "mounted_folder.h"

namespace {

/// Memory that the programs share.
struct Page {
    std::array<sem_t, 2> turns;
    int acknowledged;
    int stale;
};
Page* page = nullptr;

/// A step of the first or second program. The number of sets that were refused.
int count_up(int program) {
    const auto number = static_cast<std::size_t>(program);
    int refused = 0;
    for (int i = 0; i < Increments::per_program; ++i) {
        while (sem_wait(&page->turns[number]) != 0) {
        }
        int value = -1;
        const zelva_core_status status = zelva_core_settings_get_int_value("k", &value);
        page->stale += status == ZELVA_CORE_STATUS_NO_ERROR && value == page->acknowledged ? 0 : 1;
        if (status == ZELVA_CORE_STATUS_NO_ERROR &&
            zelva_core_settings_set_int_value("k", value + 1) == ZELVA_CORE_STATUS_NO_ERROR) {
            ++page->acknowledged;
        } else {
            ++refused;
        }
        sem_post(&page->turns[1 - number]);
    }
    return refused;
}

}  // namespace

Increments::Increments() {
    void* const memory = mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    BOOST_REQUIRE(memory != MAP_FAILED);
    page = new (memory) Page{};
    for (const unsigned number : {0U, 1U}) {
        BOOST_REQUIRE_EQUAL(0, sem_init(&page->turns[number], 1, 1 - number));
    }
}

Increments::~Increments() {
    munmap(page, sizeof(Page));
}

void Increments::run(Program& first, Program& second) {
    first.begin(count_up, 0);
    second.begin(count_up, 1);
    refused_ = {first.result(), second.result()};
}

int Increments::acknowledged() const {
    return page->acknowledged;
}

int Increments::stale() const {
    return page->stale;
}
