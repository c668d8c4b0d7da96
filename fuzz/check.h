// What a fuzzer says when something does not hold.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program, so that the input is kept, when `condition` does not hold.
#define CHECK(condition)                                                                        \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)
