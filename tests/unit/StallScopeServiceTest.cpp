#include "service/StallScopeService.h"

#include <unistd.h>

#include <thread>

#include "tests/support/FakeDevice.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformFakes.h"

namespace android::test {

namespace {

struct Lists {
    Texts a = {"came"}, b = a, c = a, d = a, e = a, f = a, g = a, h = a;
};

// Every method that parses the log, called on pid 10.
struct ParsingMethod {
    std::string name;
    binder::Status (*call)(StallScopeService& service, Lists* lists, bool* result);
};

const ParsingMethod kParsingMethods[] = {
        {"getTransaction",
         [](StallScopeService& service, Lists* l, bool* result) {
             return service.getTransaction(10, &l->a, &l->b, &l->c, &l->d, &l->e, &l->f, &l->g,
                                           &l->h, result);
         }},
        {"getAsyncTransaction",
         [](StallScopeService& service, Lists* l, bool* result) {
             return service.getAsyncTransaction(10, 20, &l->a, &l->b, &l->c, result);
         }},
        {"getThreadFullInfo",
         [](StallScopeService& service, Lists* l, bool*) {
             return service.getThreadFullInfo(10, &l->a, &l->b, &l->c);
         }},
        {"printfProcBinderInfo", [](StallScopeService& service, Lists*,
                                    bool*) { return service.printfProcBinderInfo(10, "tag"); }},
        {"checkTransaction",
         [](StallScopeService& service, Lists* l, bool* result) {
             return service.checkTransaction(10, 2, &l->a, &l->b, result);
         }},
        {"getTransactProc",
         [](StallScopeService& service, Lists* l, bool*) {
             return service.getTransactProc(10, "tag", &l->a, &l->b, &l->c);
         }},
};

LogEntry called(const std::string& name) {
    return debug(name, "StallScopeService " + name +
                               (name == "getAsyncTransaction" ? " anrFromPid: 10" : " pid: 10"));
}

}  // namespace

class Service : public FakeDevice {
  protected:
    StallScopeService service;
};

TEST_F(Service, LeavesEverythingAsItCameWithoutALog) {
    for (const ParsingMethod& method : kParsingMethods) {
        for (bool before : {false, true}) {
            Lists lists;
            bool result = before;
            EXPECT_TRUE(method.call(service, &lists, &result).isOk());
            EXPECT_EQ(result, before);
            for (const Texts* list : {&lists.a, &lists.b, &lists.c, &lists.h}) {
                EXPECT_EQ(*list, Texts{"came"});
            }
            EXPECT_EQ(takeLog(),
                      (std::vector<LogEntry>{
                              called(method.name),
                              error("parse", std::string("Can't open file: ") + kBinderLogPath),
                              error(method.name, "Parser file failed")}));
        }
    }
}

// Each method's answer to the same small log, to see that every list lands where it belongs.
TEST_F(Service, HandsEveryListToTheRightPlace) {
    addProcess(10, "app", "t10\n", "0");
    addProcess(20, "media", "t20\n", "-1000");
    std::string pendingLine = outgoing(10, 10, 20, 0, 3000);
    std::string incomingLine = outgoing(20, 20, 10, 10, 1);
    setBinderLog("proc 10\n" + outgoing(10, 10, 20, 20, 3000) +
                 incomingLine.replace(incomingLine.find("outgoing"), 8, "incoming") + "proc 20\n" +
                 pendingLine.replace(pendingLine.find("outgoing"), 8, "pending async"));
    const std::string tail = " elapsed: 3.000000 s code: 3";
    const std::string call =
            "outgoing transaction from 10(app):10(t10) to 20(media):20(t20)" + tail;
    const std::string waiting =
            "pending async transaction from 10(app):10(t10) to 20(media):0(unknown)" + tail;
    const Texts expected[][8] = {
            {{call}, {}, {"20"}, {"app"}, {"media"}, {"3.000000"}, {"10"}, {"20"}},
            {{waiting}, {}, {"20"}},
            {{"incoming transaction from 20(media):20(t20) to 10(app):10(t10) elapsed: 0.001000 s "
              "code: 3"},
             {},
             {"20"}},
            {},
            {{"outgoing from 10 : 10 to 20 : 20" + tail}, {"20"}},
            {{"20"}, {"media"}, {call}},
    };
    for (size_t i = 0; i < std::size(kParsingMethods); ++i) {
        Lists lists;
        bool result = false;
        EXPECT_TRUE(kParsingMethods[i].call(service, &lists, &result).isOk());
        const Texts* lists8[] = {&lists.a, &lists.b, &lists.c, &lists.d,
                                 &lists.e, &lists.f, &lists.g, &lists.h};
        for (int k = 0; k < 8; ++k) {
            Texts whole = {"came"};
            whole.insert(whole.end(), expected[i][k].begin(), expected[i][k].end());
            EXPECT_EQ(*lists8[k], whole) << kParsingMethods[i].name << " list " << k;
        }
        EXPECT_EQ(result, i == 0 || i == 1 || i == 4) << kParsingMethods[i].name;
        EXPECT_EQ(takeLog().front(), called(kParsingMethods[i].name));
    }
}

// One name that is no UTF-8 would make the stub refuse the whole reply.
TEST_F(Service, RepairsNamesThatTheStubWouldRefuse) {
    const std::pair<const char*, const char*> rows[] = {
            {"plain", "plain"},
            {"a\u00e9\u20ac\U0001f600z", "a\u00e9\u20ac\U0001f600z"},
            {"\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff",
             "\x7f\u0080\u07ff\u0800\uffff\U00010000\U0010ffff"},
            {"tail\xc3", "tail\ufffd"},
            {"\xf0\x9f\x98", "\ufffd\ufffd\ufffd"},
            {"\xe2\x82(x", "\ufffd\ufffd(x"},
            {"\xc0\xaf \xe0\x9f\xbf", "\ufffd\ufffd \ufffd\ufffd\ufffd"},
            {"\xed\xa0\x80\xf4\x90\x80\x80\xff",
             "\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
    };
    setBinderLog("proc 10\n" + outgoing(10, 10, 20, 20, 3000));
    for (const auto& [name, repaired] : rows) {
        addProcess(20, name, name, "0");
        Lists lists;
        bool result = false;
        kParsingMethods[0].call(service, &lists, &result);
        EXPECT_EQ(lists.e.back(), repaired);
        EXPECT_NE(lists.a.back().find(std::string("20(") + repaired + "):20(" + repaired + ")"),
                  std::string::npos)
                << lists.a.back();
    }
}

TEST_F(Service, ServesTheMethodsThatReadNoLog) {
    addProcLink("41/fd/0", "x");
    int32_t amount = 0;
    EXPECT_TRUE(service.getFdSize(41, &amount).isOk());
    EXPECT_EQ(amount, 3);
    EXPECT_TRUE(service.getFdSize(42, &amount).isOk());
    EXPECT_EQ(amount, -1);
    EXPECT_TRUE(service.catchFdInfo(path("fds"), 41).isOk());
    EXPECT_EQ(read("fds"), "/proc/41/fd/0 -> x\n");
    bool result = false;
    EXPECT_TRUE(service.dumpTraceForPidWithTimeout(41, 5, path("one"), &result).isOk());
    EXPECT_TRUE(result);
    EXPECT_TRUE(service.dumpTraceForPidWithTimeout(41, 0, path("one"), &result).isOk());
    EXPECT_FALSE(result);
    EXPECT_EQ(read("one"), "native 41\n");
    EXPECT_TRUE(service.dumpTraceForPidList({41}, "Subject", path("list")).isOk());
    EXPECT_EQ(read("list"), "Subject\nnative 41\n");
    for (const LogEntry& entry : takeLog()) {
        EXPECT_EQ(entry.text.find("StallScopeService"), std::string::npos) << entry;
    }
}

TEST_F(Service, ReturnsFromTheAsynchronousDumpBeforeTheFirstCapture) {
    std::atomic<bool> mayCapture = false;
    scriptCaptures([&](const Capture& capture, int fd) {
        while (!mayCapture) {
            usleep(1000);
        }
        return writeCapture(capture, fd);
    });
    {
        // The thread must not depend on the caller's arguments.
        std::vector<int32_t> pids = {41};
        std::string subject = "Subject", file = path("list");
        EXPECT_TRUE(service.dumpTraceForPidListAsync(pids, subject, file).isOk());
    }
    mayCapture = true;
    for (int i = 0; i < 500 && read("list") != "Subject\nnative 41\n"; ++i) {
        usleep(10'000);
    }
    EXPECT_EQ(read("list"), "Subject\nnative 41\n");
    usleep(50'000);
}

TEST_F(Service, ServesConcurrentCalls) {
    addProcess(10, "app", "t10\n", "0");
    addProcess(20, "media", "t20\n", "-1000");
    std::string log = "proc 10\n";
    for (int i = 0; i < 200; ++i) {
        log += outgoing(10, 10, 20, 20, 3000);
    }
    setBinderLog(log);
    std::vector<std::thread> callers;
    for (int i = 0; i < 8; ++i) {
        callers.emplace_back([this] {
            Lists lists;
            bool result = false;
            kParsingMethods[0].call(service, &lists, &result);
            EXPECT_TRUE(result);
            EXPECT_EQ(lists.a.size(), 201u);
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
}

// Run with the debug switch off.
using Quiet = Service;

TEST_F(Quiet, WritesNoDebugLine) {
    addProcess(10, "app", "t10\n", "0");
    addProcess(20, "media", "t20\n", "-1000");
    setBinderLog("proc 10\n" + outgoing(10, 10, 20, 20, 3000) + "proc 20\n");
    for (const ParsingMethod& method : kParsingMethods) {
        Lists lists;
        bool result = false;
        method.call(service, &lists, &result);
        service.catchFdInfo(path("fds"), 41);
        for (const LogEntry& entry : takeLog()) {
            EXPECT_NE(entry.priority, ANDROID_LOG_DEBUG) << entry;
        }
    }
}

TEST(ServiceInstance, IsCreatedOnce) {
    EXPECT_EQ(StallScopeService::getInstance(), StallScopeService::getInstance());
}

}  // namespace android::test
