// The parts of a staged hang: what a process is told to do, who it pretends to be, and the places
// where its threads get stuck. Whatever a thread waits in is a function of its own with a telling
// name, so that a stack trace says what the thread waits for.

#ifndef STALLSCOPE_HOST_STAGING_STAGE_H
#define STALLSCOPE_HOST_STAGING_STAGE_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace stage {

// VERB[:TARGET[:COUNT]]; README.md lists the verbs.
struct Action {
    explicit Action(const std::string& text);

    std::string verb;
    std::string target;
    int count = 1;
};

// The command line, "--KEY VALUE" throughout; README.md lists the keys.
class Options {
  public:
    // False, after a message on stderr, when the command line can't be understood.
    bool parse(int argc, char** argv);
    const std::string& text(const std::string& key) const;
    int number(const std::string& key) const;
    uint32_t code() const;
    // NAME=ACTION of every further thread.
    const std::vector<std::string>& threads() const { return mThreads; }

  private:
    std::map<std::string, std::string> mValues;
    std::vector<std::string> mThreads;
};

// Begins a session, starts the program over if /proc/PID/cmdline does not begin with --cmdline yet,
// names the main thread and erases the arguments.
void takeIdentity(const Options& options, char** argv);
// Leaves the first argument only: an app process forked by the zygote has no others either.
void eraseArguments();

void waitForSensorThatNeverAnswers(int parkMs);
void waitForLockHeldByMainThread(std::mutex* lock);
void waitForChildThatNeverExecs();  // uninterruptible: a tracer can't stop the thread either
void waitForTheEnd();
void waitForFile(const std::string& path);

// Both wait until the service is registered, and return the status of the call.
int callServiceAndWait(const std::string& service, uint32_t code);
int sendOneWay(const std::string& service, uint32_t code);
// The driver never hands a process a handle to its own node, but it does so to a second opening of
// the device: the call leaves the process and comes in again.
int callOwnServiceThroughSecondDriver(const std::string& service, uint32_t code);

}  // namespace stage

#endif  // STALLSCOPE_HOST_STAGING_STAGE_H
