#ifndef STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H
#define STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H

#include <gmock/gmock.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "zevo/stallscope/IStallscope.h"

namespace android::test {

using Texts = std::vector<std::string>;
using zevo::stallscope::IStallscope;

constexpr pid_t kNobody = 4194304;  // one more than the highest process id there can be

// The daemon, by way of servicemanager, which has it started when it does not run. Hold on to it
// while detached work goes on: a daemon without clients is stopped after a few seconds.
sp<IStallscope> stallscope();
pid_t daemonPid();  // 0 when it does not run
void killDaemon();
// What the daemon has written to its standard error so far; the reason of an abort is there.
std::string outputOfTheDaemon();
void forgetOutputOfTheDaemon();
// Also done at the end of each program of tests.
void expectNoSanitizerReport();

// What the daemon has logged since the last call, without source lines and with elapsed times
// masked: "E function: message", and "W 3/tag: text" with another buffer than the main one or with
// a tag. Leaves out what its libraries log and the parser's lines, which repeat the kernel's log.
Texts takeDaemonLog();

// A hang that is staged in place of the one before.
struct StagedHang {
    StagedHang() = default;
    explicit StagedHang(const std::string& shape);

    pid_t operator[](const std::string& name) const { return pids.at(name); }
    // The texts with each $NAME replaced by the process id.
    std::string text(std::string form) const;
    Texts texts(Texts forms) const;

    std::map<std::string, pid_t> pids;
};

// What the command writes to its output, without the last line end.
std::string output(const std::string& shellCommand);
// Lives until the guest stops.
pid_t startInBackground(const std::string& shellCommand);
// Whether it came true in time.
bool eventually(const std::function<bool()>& isTrue, int seconds = 30);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);
Texts linesOf(const std::string& text);
size_t count(const std::string& text, const std::string& part);
// A field of /proc/PID/status.
std::string statusOf(pid_t pid, const std::string& field);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_GUEST_GUESTSUPPORT_H
