#include "mounted/increments.h"

#include <sched.h>
#include <semaphore.h>
#include <sys/mman.h>

#include <new>

#include "mounted/mounted_folder.h"

namespace {

/// Memory that the programs share.
struct Page {
    sem_t turn;
    int acknowledged;
    int stale;
};
Page* page = nullptr;

/// A step. The number of sets that were refused.
int increment(int count) {
    int refused = 0;
    for (int i = 0; i < count; ++i) {
        while (sem_wait(&page->turn) != 0) {
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
        sem_post(&page->turn);
        sched_yield();
    }
    return refused;
}

}  // namespace

Increments::Increments() {
    void* const memory = mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    BOOST_REQUIRE(memory != MAP_FAILED);
    page = new (memory) Page{};
    BOOST_REQUIRE_EQUAL(0, sem_init(&page->turn, 1, 1));
}

Increments::~Increments() {
    munmap(page, sizeof(Page));
}

void Increments::run(Program& first, Program& second) {
    first.begin(increment, per_program);
    second.begin(increment, per_program);
    refused_ = {first.result(), second.result()};
}

int Increments::acknowledged() const {
    return page->acknowledged;
}

int Increments::stale() const {
    return page->stale;
}
