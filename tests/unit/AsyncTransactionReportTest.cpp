#include "diagnostics/AsyncTransactionReport.h"

#include "tests/support/FakeDevice.h"

namespace android::test {

namespace {

Transaction pending(int fromPid, int fromTid, int toPid, int milliseconds) {
    return {"pending async", fromPid, fromTid, toPid, 0, milliseconds};
}

std::string trace(const Transaction& call) {
    return "D getAsyncBinderTransactions: Aync transaction line:  " + call.reported();
}

}  // namespace

class AsyncReport : public FakeDevice {
  protected:
    AsyncReport() { addProcesses({10, 11, 20, 21, 30}, "0"); }

    // Reports on calls from 10 that wait in 20, into empty lists.
    bool report(const std::string& log) {
        BinderLogParser parser = parse("proc 20\n" + log);
        lines = java = native = {};
        return getAsyncBinderTransactions(10, 20, parser, &lines, &java, &native);
    }

    Texts lines, java, native;
};

TEST_F(AsyncReport, ReportsTheSendersCallsFollowsTheReceiverOnceAndTracesEverything) {
    Transaction calls[] = {pending(10, 10, 20, 2500), pending(11, 11, 20, 9000),
                           pending(10, 11, 20, 1), pending(10, 10, 21, 1)};
    Transaction next = {"outgoing", 20, 20, 30, 30, 1};
    EXPECT_TRUE(report(next.logged() + calls[0].logged() + calls[1].logged() + calls[2].logged() +
                       calls[3].logged()));
    EXPECT_EQ(lines, (Texts{calls[0].reported(), next.reported(), calls[2].reported()}));
    EXPECT_EQ(java, (Texts{"20", "30"}));
    EXPECT_EQ(takeLog("D"),
              (Texts{trace(calls[0]), "D addPidToList: 20 is Java process",
                     "D getBinderTransactions: transaction line:  " + next.reported(),
                     "D getBinderTransactions: adj is 0",
                     "D getBinderTransactions: 30 is Java process", trace(calls[1]),
                     trace(calls[2]), "D addPidToList: 20 is in list", trace(calls[3])}));
}

TEST_F(AsyncReport, ReturnsTheVerdictOfAnyMatchingCallWhateverTheReceiver) {
    const Transaction longCall = pending(10, 10, 20, 2001);
    const std::pair<std::string, bool> rows[] = {
            {pending(10, 10, 20, 2000).logged(), false},
            {longCall.logged(), true},
            {pending(10, 11, 20, 9000).logged(), false},
            {pending(11, 11, 20, 9000).logged(), false},
            {pending(10, 10, 21, 9000).logged(), false},
            {pending(10, 10, 20, 1).logged() + longCall.logged(), true},
            {longCall.logged() + pending(10, 10, 20, 1).logged(), true},
    };
    for (const char* adj : {"0", "-1000", "-950", "1001"}) {
        write("/proc/20/oom_score_adj", adj);
        for (const auto& [log, isBlocked] : rows) {
            EXPECT_EQ(report(log), isBlocked) << adj << log;
        }
    }
}

TEST_F(AsyncReport, ListsAndFollowsOnlyJavaAndNativeReceivers) {
    const Transaction call = pending(10, 10, 20, 1);
    const Transaction next = {"outgoing", 20, 20, 20, 20, 1};
    for (const char* adj : {"-1000", "-950", "1001"}) {
        write("/proc/20/oom_score_adj", adj);
        report(call.logged() + call.logged() + next.logged());
        bool isNative = adj == std::string("-1000");
        EXPECT_EQ(java, Texts{});
        EXPECT_EQ(native, isNative ? Texts{"20"} : Texts{});
        Texts rest = {trace(call)};
        if (isNative) {
            rest = {"D addPidToList: 20 is Native process",
                    "D getBinderTransactions: transaction line:  " + next.reported(),
                    "D getBinderTransactions: 20 is in list", trace(call),
                    "D addPidToList: 20 is in list"};
        }
        Texts log = takeLog("D");
        EXPECT_EQ(Texts(log.begin() + 1, log.end()), rest) << adj;
    }
}

}  // namespace android::test
