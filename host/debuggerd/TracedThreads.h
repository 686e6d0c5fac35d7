#ifndef STALLSCOPE_HOST_DEBUGGERD_TRACEDTHREADS_H
#define STALLSCOPE_HOST_DEBUGGERD_TRACEDTHREADS_H

#include <sys/types.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "host/debuggerd/CaptureResult.h"
#include "host/debuggerd/Deadline.h"

namespace debuggerd {

struct TracedThread {
    enum class State {
        kStopping,  // asked to stop
        kStopped,
        kReleased,
        kGone,
        kRefused,  // can't be traced, for the reason in `refusal`
    };

    pid_t tid = 0;
    std::string name;
    State state = State::kStopping;
    int signal = 0;  // was about to be delivered when the thread stopped
    CaptureResult refusal = CaptureResult::kCaptured;
};

// Stops the threads of another process and lets them go on. Threads are seized and not attached to,
// so the kernel releases them by itself, group stops included, when the tracing thread ends; only
// that also releases those that never stopped. ptrace knows one tracing thread, so all calls have
// to come from it.
class TracedThreads {
  public:
    explicit TracedThreads(pid_t pid) : mPid(pid) {}

    // Asks every thread to stop and waits for them: until all have stopped, or none more has for
    // as long as `patience`, or the deadline.
    void stopAll(const Deadline& deadline, Deadline::Clock::duration patience);
    // Waits until at least one more thread has stopped or none is left to wait for; false when the
    // deadline comes first.
    bool waitForStops(const Deadline& deadline);
    // Lets a stopped thread go on, with the signal that was on its way to it.
    void release(TracedThread* thread);

    std::vector<TracedThread>& threads() { return mThreads; }
    const std::vector<TracedThread>& threads() const { return mThreads; }
    bool anyIn(TracedThread::State state) const;

  private:
    bool seizeNewThreads();
    static void seize(TracedThread* thread);
    bool collectStops();
    void collectStop(TracedThread* thread);

    pid_t mPid;
    std::vector<TracedThread> mThreads;  // the main thread first
    std::unordered_set<pid_t> mKnown;
};

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_TRACEDTHREADS_H
