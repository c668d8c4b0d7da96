// Standing in for the C library: a program's own definition of one of its functions is what the shared library calls,
// too. `real` finds the C library's.
#pragma once

#include <dlfcn.h>

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
