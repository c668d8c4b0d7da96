// Boost.Test as testSettings uses it: the shared framework, with a main and an initialisation function of our own.
#pragma once

#define BOOST_TEST_DYN_LINK
#define BOOST_TEST_NO_MAIN
#define BOOST_TEST_ALTERNATIVE_INIT_API
#include <boost/test/unit_test.hpp>
