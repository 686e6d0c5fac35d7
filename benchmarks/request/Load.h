#ifndef STALLSCOPE_BENCHMARKS_LOAD_H
#define STALLSCOPE_BENCHMARKS_LOAD_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace android::benchmarks {

// Starts a program with its arguments; ends this one when it can't.
pid_t start(std::vector<std::string> words);
// Kills one that was started so, and waits for its end.
void stop(pid_t pid);

// One process whose threads are all in calls to another.
class Load {
  public:
    Load(const std::string& stageProcess, size_t calls);
    ~Load();

    pid_t caller() const { return mCaller; }
    // How many of the calls are in the log.
    size_t seen() const { return mSeen; }

  private:
    pid_t mServer;
    pid_t mCaller;
    size_t mSeen = 0;
};

// The kernel prints its log into a buffer that it doubles when it is full, unless that happens
// within a thread's first line: then it leaves out the rest. Where that happens differs from load
// to load, so try for one that is whole.
std::unique_ptr<Load> wholeLoad(const std::string& stageProcess, size_t calls);

}  // namespace android::benchmarks

#endif  // STALLSCOPE_BENCHMARKS_LOAD_H
