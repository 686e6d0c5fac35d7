#include "service/StallScopeService.h"

#include <unistd.h>

#include <future>
#include <mutex>

#include "service/Utf8Repair.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

const std::string kNone = ": No transactions found for pid ";
const std::string kHeader = "W 3/tag: Pid 10 Binder Info";

// The methods that parse the log, whether they have a verdict, and what they log when there is no
// such process, and when it makes no calls.
const std::tuple<std::string, bool, Texts, Texts> kMethods[] = {
        {"getTransaction", true, {"E getBinderTransactions" + kNone + "10"}, {}},
        {"getAsyncTransaction", true, {"E getAsyncBinderTransactions" + kNone + "20"}, {}},
        {"getThreadFullInfo", false, {"E getBinderThreadFullInfo" + kNone + "10"}, {}},
        {"printfProcBinderInfo", false, {kHeader, "E printfBinderInfo" + kNone + "10"}, {kHeader}},
        {"checkTransaction", true, {"E checkBinderTransactions" + kNone + "10"}, {}},
        {"getTransactProc", false, {"W 3/tag" + kNone + "10"}, {kHeader}}};

struct Answer {
    std::vector<Texts> lists = std::vector<Texts>(8, {"came"});
    bool result = true;
};

const Transaction kCall = {"outgoing", 10, 10, 20, 20, 3000};
const Transaction kWaiting = {"pending async", 10, 10, 20, 0, 3000};
const Transaction kCaller = {"incoming", 20, 20, 10, 10, 1};
const std::string kLog =
        "proc 10\n" + kCall.logged() + kCaller.logged() + "proc 20\n" + kWaiting.logged();

}  // namespace

class Service : public FakeDevice {
  protected:
    Service() {
        addProcesses({10}, "0");
        addProcesses({20}, "-1000");
    }

    // Asks a method of the table about pid 10, or about 10's calls to 20.
    binder::Status ask(size_t method, Answer* a) {
        Texts* l = a->lists.data();
        switch (method) {
            case 0:
                return service->getTransaction(10, l, l + 1, l + 2, l + 3, l + 4, l + 5, l + 6,
                                               l + 7, &a->result);
            case 1:
                return service->getAsyncTransaction(10, 20, l, l + 1, l + 2, &a->result);
            case 2:
                return service->getThreadFullInfo(10, l, l + 1, l + 2);
            case 3:
                return service->printfProcBinderInfo(10, "tag");
            case 4:
                return service->checkTransaction(10, 2, l, l + 1, &a->result);
            default:
                return service->getTransactProc(10, "tag", l, l + 1, l + 2);
        }
    }

    sp<StallScopeService> service = new StallScopeService;
};

TEST_F(Service, AddsNothingWithoutALogAProcessOrACall) {
    for (size_t i = 0; i < std::size(kMethods); ++i) {
        const auto& [name, hasVerdict, ofUnknown, ofIdle] = kMethods[i];
        Answer answer;
        EXPECT_TRUE(ask(i, &answer).isOk());
        EXPECT_TRUE(answer.result);
        EXPECT_EQ(takeLogWithoutDebug(),
                  (Texts{std::string("E parse: Can't open file: ") + kBinderLogPath,
                         "E " + name + ": Parser file failed"}));
        for (const auto& said : {ofUnknown, ofIdle}) {
            write(kBinderLogPath, said == ofIdle ? "proc 10\nproc 20\n" : "proc 12\n");
            answer.result = true;
            EXPECT_TRUE(ask(i, &answer).isOk());
            EXPECT_EQ(answer.result, !hasVerdict) << name;
            EXPECT_EQ(takeLogWithoutDebug(), said);
        }
        EXPECT_EQ(answer.lists, Answer().lists) << name;
        std::filesystem::remove(kBinderLogPath);
    }
}

// Each method's answer to the same small log, to see that every list lands where it belongs.
TEST_F(Service, HandsEveryListToTheRightPlace) {
    write(kBinderLogPath, kLog);
    const std::string tail = " elapsed: 3.000000 s code: 3";
    const std::string named = "outgoing transaction from 10(p10):10(t10) to 20(p20):20(t20)" + tail;
    const std::vector<Texts> rows[] = {
            {{named}, {}, {"20"}, {"p10"}, {"p20"}, {"3.000000"}, {"10"}, {"20"}},
            {{kWaiting.reported()}, {}, {"20"}},
            {{kCaller.reported()}, {}, {"20"}},
            {},
            {{"outgoing from 10 : 10 to 20 : 20" + tail}, {"20"}},
            {{"20"}, {"p20"}, {named}},
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        const std::string& name = std::get<0>(kMethods[i]);
        Answer answer, expected;
        answer.result = false;
        EXPECT_TRUE(ask(i, &answer).isOk());
        EXPECT_EQ(answer.result, std::get<1>(kMethods[i])) << name;
        for (size_t k = 0; k < rows[i].size(); ++k) {
            expected.lists[k].insert(expected.lists[k].end(), rows[i][k].begin(), rows[i][k].end());
        }
        EXPECT_EQ(answer.lists, expected.lists) << name;
        const char* pid = i == 1 ? " anrFromPid: 10" : " pid: 10";
        EXPECT_EQ(takeLog().front(), "D " + name + ": StallScopeService " + name + pid);
    }
}

// Run with the debug switch off.
using Quiet = Service;

TEST_F(Quiet, WritesNoDebugLine) {
    write(kBinderLogPath, kLog);
    for (size_t i = 0; i < std::size(kMethods); ++i) {
        Answer answer;
        ask(i, &answer);
        EXPECT_EQ(takeLog("D"), Texts{}) << std::get<0>(kMethods[i]);
    }
}

// One name that is no UTF-8 would make the stub refuse the whole reply.
TEST_F(Service, RepairsNamesThatTheStubWouldRefuse) {
    const std::string kept = "\xc3(\xff\x80\x80\x80\u07ff\u20ac\U0010ffffz";
    const std::pair<std::string, const char*> rows[] = {
            {kept, kept.c_str()},
            {"tail\xc3", "tail\ufffd"},
            {"\xf0\x9f\x98", "\ufffd\ufffd\ufffd"},
            {"x\xf4"
             "ab",
             "x\ufffd"
             "ab"},
            {"\xff\xe0\xc2", "\ufffd\ufffd\ufffd"},
    };
    for (const auto& [name, repaired] : rows) {
        EXPECT_EQ(repairEnd(name), repaired);
    }
    // Only what the call appends, and only names: a line never ends in the middle of anything.
    write(kBinderLogPath, kLog);
    write("/proc/20/cmdline", "p20\xe2");
    for (size_t i = 0; i < std::size(kMethods); ++i) {
        Answer answer;
        for (Texts& list : answer.lists) {
            list = {"own\xe2"};
        }
        ask(i, &answer);
        for (const Texts& list : answer.lists) {
            EXPECT_EQ(list.front(), "own\xe2");
            EXPECT_NE(list.back(), "p20\xe2") << std::get<0>(kMethods[i]);
            bool isLine = list.back().find(" transaction from ") != std::string::npos;
            EXPECT_EQ(isLine, list.back().find("(p20\xe2):") != std::string::npos);
        }
    }
}

TEST_F(Service, ServesTheMethodsThatReadNoLog) {
    link("/proc/41/fd/0", "x");
    int32_t amount = 0;
    EXPECT_TRUE(service->getFdSize(41, &amount).isOk());
    EXPECT_EQ(amount, 3);
    EXPECT_TRUE(service->catchFdInfo(path("fds"), 41).isOk());
    EXPECT_EQ(read("fds"), "/proc/41/fd/0 -> x\n");
    for (bool isTimeLeft : {true, false}) {
        bool result = !isTimeLeft;
        service->dumpTraceForPidWithTimeout(41, isTimeLeft ? 5 : 0, path("one"), &result);
        EXPECT_EQ(result, isTimeLeft);
    }
    EXPECT_EQ(read("one"), "native 41\n");
    EXPECT_TRUE(service->dumpTraceForPidList({41}, "Subject", path("list")).isOk());
    EXPECT_EQ(read("list"), "Subject\nnative 41\n");
}

TEST_F(Service, ReturnsFromTheAsynchronousDumpBeforeTheFirstCapture) {
    std::mutex captures;
    captures.lock();
    scriptCaptures([&](int pid, DebuggerdDumpType type, int fd) {
        std::lock_guard<std::mutex> guard(captures);
        return writeCapture(pid, type, fd);
    });
    // The thread must not depend on the caller's arguments.
    EXPECT_TRUE(service->dumpTraceForPidListAsync({41}, "Subject", path("list")).isOk());
    captures.unlock();
    for (int i = 0; i < 500 && read("list") != "Subject\nnative 41\n"; ++i) {
        usleep(10'000);
    }
    EXPECT_EQ(read("list"), "Subject\nnative 41\n");
    usleep(50'000);
}

TEST_F(Service, ServesConcurrentCalls) {
    write(kBinderLogPath, kLog);
    std::vector<std::future<void>> calls(8);
    for (std::future<void>& call : calls) {
        call = std::async(std::launch::async, [this] {
            Answer answer;
            ask(0, &answer);
            EXPECT_EQ(answer.lists[0].back(), kCall.reported());
        });
    }
}

}  // namespace android::test
