// Start and stop of the library, its stores, and the value arrays.
#include <zelva/core.h>

#include <cstring>

#include "api/c_types.h"
#include "api/stores.h"
#include "file/paths.h"

namespace zelva::api {

namespace {

/// An object that is never destroyed, so that a thread or a static object that still uses it when the process ends can.
template <class T>
union NoDestructor {
    NoDestructor() : object() {}
    NoDestructor(const NoDestructor&) = delete;
    NoDestructor& operator=(const NoDestructor&) = delete;
    ~NoDestructor() {}  // NOLINT(modernize-use-equals-default): that would be no destructor at all, but a deleted one

    T object;
};

/// Both stores, and their locks around fork().
struct Stores {
    // Where there is no memory for the handlers, forking is what it is without them.
    Stores() { pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child); }

    static void before_fork();
    static void after_fork_in_parent();
    static void after_fork_in_child();

    store::SettingsStore settings;
    store::ConfigurationStore configuration;
};

Stores& stores() {
    // no test: two threads' first calls of the library at the same moment, of which one waits for the other.
    static NoDestructor<Stores> stores;
    return stores.object;
}

void Stores::before_fork() {
    stores().settings.before_fork();
    stores().configuration.before_fork();
}

void Stores::after_fork_in_parent() {
    stores().configuration.after_fork_in_parent();
    stores().settings.after_fork_in_parent();
}

void Stores::after_fork_in_child() {
    stores().configuration.after_fork_in_child();
    stores().settings.after_fork_in_child();
}

}  // namespace

store::SettingsStore& settings() {
    return stores().settings;
}

store::ConfigurationStore& configuration() {
    return stores().configuration;
}

char* new_element(std::string_view text) {
    char* element = static_cast<char*>(std::malloc(text.size() + 1));
    if (element == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(element, text.data(), text.size());
    element[text.size()] = '\0';
    return element;
}

namespace {

/// A value array for the caller, its slots pointing to elements that are zero. NULL when there is no memory.
template <class Element>
Element** allocate_array(unsigned n) {
    try {
        ArrayOwner<Element> array(allocate_slots<Element>(n));
        for (unsigned i = 0; i < n; ++i) {
            array.get()[i] = new_element(Element());
        }
        return array.release();
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

}  // namespace zelva::api

using namespace zelva;

const char* zelva_core_version(void) {
    return ZELVA_CORE_VERSION_OF_PROJECT;
}

zelva_core_status zelva_core_init(void) {
    return api::guarded([] {
        api::settings();
        api::configuration();
        return file::status_of(file::check_settings_directory());
    });
}

zelva_core_status zelva_core_deinit(void) {
    return api::guarded([] {
        api::settings().close();
        api::configuration().close();
        return ZELVA_CORE_STATUS_NO_ERROR;
    });
}

char** zelva_core_alloc_string_array(unsigned n) {
    // Its slots stay empty: strings have no size that would be known here.
    return static_cast<char**>(std::calloc(std::size_t{n} + 1, sizeof(char*)));
}
int** zelva_core_alloc_int_array(unsigned n) {
    return api::allocate_array<int>(n);
}
bool** zelva_core_alloc_bool_array(unsigned n) {
    return api::allocate_array<bool>(n);
}
double** zelva_core_alloc_double_array(unsigned n) {
    return api::allocate_array<double>(n);
}

void zelva_core_free_string_array(char** array) {
    api::free_array(array);
}
void zelva_core_free_int_array(int** array) {
    api::free_array(array);
}
void zelva_core_free_bool_array(bool** array) {
    api::free_array(array);
}
void zelva_core_free_double_array(double** array) {
    api::free_array(array);
}
