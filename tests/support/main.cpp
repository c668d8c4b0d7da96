// The store's own tests, beside the conformance program.
#define BOOST_TEST_DYN_LINK
#define BOOST_TEST_MODULE storeTests
#include <boost/test/unit_test.hpp>
