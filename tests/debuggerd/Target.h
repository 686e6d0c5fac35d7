#pragma once

#include <debuggerd/client.h>
#include <sys/types.h>

#include <functional>
#include <string>

// A process to capture: a fork of the test that calls `body`, which has to call ready() and must
// not return. It ends with the object, and with the test.
class Target {
  public:
    explicit Target(const std::function<void()>& body);
    Target(const Target&) = delete;
    ~Target();
    static void ready();

    pid_t pid() const { return mPid; }
    // The first word of a field of its status file, such as "State" or "TracerPid".
    std::string status(const std::string& field) const;
    bool reachesState(const std::string& state) const;
    // Whether it is untraced and every thread runs or sleeps, waiting a moment for that.
    bool runsOn() const;

  private:
    pid_t mPid;
};

// One call of the library with its output.
struct Capture {
    int result = -1;
    double seconds = 0;
    std::string text;

    int count(const std::string& part) const;
    bool contains(const std::string& part) const { return count(part) > 0; }
    // Without waiting for the time-out, which is longer even on a busy machine.
    bool failedAtOnce() const { return result != 0 && text.empty() && seconds < 5; }
    bool timedOutAfterASecond() const { return result != 0 && seconds > 0.8 && seconds < 5; }
};

Capture capture(pid_t pid, DebuggerdDumpType type = kDebuggerdNativeBacktrace, int seconds = 10);

// A fork of the test that ends with it.
pid_t startChild(const std::function<void()>& body);
// One that captures for ever.
pid_t startCaller(pid_t pid, DebuggerdDumpType type = kDebuggerdNativeBacktrace);
void killChild(pid_t child);

// Waits ten seconds for it.
bool eventually(const std::function<bool()>& condition);

// What targets do, under names to look for in dumps. Each of the threads ends up in waitForever.
void waitWithThreads(int threads);
// Can't be interrupted by anything but its death.
void sleepUntilReadable(int fd);
