#pragma once

#include <debuggerd/client.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// A process to capture. It ends with the object, and with the test.
class Target {
  public:
    // A fork of the test that calls `body`, which has to call ready() and must not return.
    static Target run(const std::function<void()>& body);
    // A program, once it has printed a line.
    static Target exec(const std::vector<std::string>& arguments);
    static void ready();

    explicit Target(pid_t pid) : mPid(pid) {}
    Target(Target&& other) noexcept : mPid(other.mPid) { other.mPid = -1; }
    Target(const Target&) = delete;
    ~Target() { end(); }

    pid_t pid() const { return mPid; }
    // Kills and reaps it.
    void end();
    // A field of its status file, such as "State" or "TracerPid".
    std::string status(const char* field) const;
    // The state's letter, once it is one of those wanted; else what it still is after two seconds.
    char waitForState(const std::string& wanted) const;
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

    bool contains(const std::string& part) const { return text.find(part) != std::string::npos; }
    int count(const std::string& part) const;
};

Capture capture(pid_t pid, DebuggerdDumpType type = kDebuggerdNativeBacktrace, int seconds = 10);
double secondsOf(const std::function<void()>& call);

// What targets do; these never return and have names to look for in dumps.
extern "C" void waitForeverInC();
void waitForeverInFrame(int number);
// Returns when all of them wait in waitForeverInC.
void startWaitingThreads(int count);
void sleepUninterruptiblyUntilReadable(int fd);
