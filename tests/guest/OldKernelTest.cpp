#include "tests/guest/GuestSupport.h"

namespace android::test {

using OldKernelTest = GuestTest;

// That kernel's lines lack the elapsed time: all that is known of a call is that there is one.
TEST_F(OldKernelTest, CallsWithoutElapsedTimeAreReportedAsUnknown) {
    const StagedHang hang("system");
    const Answer answer = ask({"getTransaction", hang.text("$APP")});
    EXPECT_EQ(Texts{"outgoing transaction from 0(unknown):0(unknown) to 0(unknown):0(unknown) "
                    "elapsed: 0.000000 s code: 0"},
              answer["line"]);
    EXPECT_EQ(Texts(), answer["java"]);
    EXPECT_EQ("false", answer.result);
}

}  // namespace android::test
