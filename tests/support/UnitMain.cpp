#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/PrivateMounts.h"

// As the ordinary main of GoogleTest, with a device of its own. Listing the tests needs none, and
// the build does that.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    android::test::enterPrivateMounts();
    int result = RUN_ALL_TESTS();
    android::test::leavePrivateMounts();
    return result;
}
