// Calls that must be refused.
#pragma once

#include "support.h"

/// Runs `call`, which must be refused, and checks that it leaves the file and all keys as they were.
template <class Call>
void check_refused(zelva_core_status expected, Call&& call) {
    const std::string file = OpenStore::file();
    const Strings names = keys();
    BOOST_CHECK_EQUAL(expected, call());
    BOOST_CHECK_EQUAL(shown(file), shown(OpenStore::file()));
    BOOST_CHECK(names == keys());
}
