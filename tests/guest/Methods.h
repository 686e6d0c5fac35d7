#ifndef STALLSCOPE_TESTS_GUEST_METHODS_H
#define STALLSCOPE_TESTS_GUEST_METHODS_H

#include "tests/guest/GuestSupport.h"

namespace android::test {

inline sp<IStallscope> sDaemon;

// What a method returns: its result, and its lists in the order of its parameters.
struct Answer {
    bool isBlocked = false;
    std::vector<Texts> lists = std::vector<Texts>(8);
};

struct Method {
    const char* name;
    binder::Status (*call)(pid_t pid, Texts* lists, bool* result);
    const char* lastLogAboutNobody;

    Answer operator()(pid_t pid, Answer answer = {}) const {
        EXPECT_TRUE(call(pid, answer.lists.data(), &answer.isBlocked).isOk());
        return answer;
    }
    std::string announcement(pid_t pid) const {
        const std::string kind = name == std::string("getAsyncTransaction") ? "anrFromPid" : "pid";
        return std::string("D ") + name + ": StallScopeService " + name + " " + kind + ": " +
               std::to_string(pid);
    }
};

inline const Method kOutgoing = {"getTransaction",
                                 [](pid_t pid, Texts* l, bool* r) {
                                     return sDaemon->getTransaction(pid, l, l + 1, l + 2, l + 3,
                                                                    l + 4, l + 5, l + 6, l + 7, r);
                                 },
                                 "E getBinderTransactions: No transactions found for pid 4194304"};
inline const Method kAsync = {
        "getAsyncTransaction",
        [](pid_t pid, Texts* l, bool* r) {
            return sDaemon->getAsyncTransaction(pid, pid, l, l + 1, l + 2, r);
        },
        "E getAsyncBinderTransactions: No transactions found for pid 4194304"};
inline const Method kIncoming = {
        "getThreadFullInfo",
        [](pid_t pid, Texts* l, bool*) { return sDaemon->getThreadFullInfo(pid, l, l + 1, l + 2); },
        "E getBinderThreadFullInfo: No transactions found for pid 4194304"};
inline const Method kPrintout = {
        "printfProcBinderInfo",
        [](pid_t pid, Texts*, bool*) { return sDaemon->printfProcBinderInfo(pid, "hang"); },
        "E printfBinderInfo: No transactions found for pid 4194304"};
inline const Method kCheck = {
        "checkTransaction",
        [](pid_t pid, Texts* l, bool* r) { return sDaemon->checkTransaction(pid, 2, l, l + 1, r); },
        "E checkBinderTransactions: No transactions found for pid 4194304"};
inline const Method kPeerChain = {"getTransactProc",
                                  [](pid_t pid, Texts* l, bool*) {
                                      return sDaemon->getTransactProc(pid, "hang", l, l + 1, l + 2);
                                  },
                                  "W 3/hang: No transactions found for pid 4194304"};
inline const Method* const kMethods[] = {&kOutgoing, &kAsync, &kIncoming,
                                         &kPrintout, &kCheck, &kPeerChain};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_METHODS_H
