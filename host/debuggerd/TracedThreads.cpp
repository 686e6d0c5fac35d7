#include "host/debuggerd/TracedThreads.h"

#include <dirent.h>
#include <errno.h>
#include <stdlib.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <algorithm>
#include <memory>
#include <thread>

#include "host/debuggerd/ProcFile.h"

namespace debuggerd {

using State = TracedThread::State;

namespace {

constexpr auto kFirstPause = std::chrono::microseconds(100);
constexpr auto kLongestPause = std::chrono::microseconds(5000);
// Threads that start each other faster than they can be stopped end the search.
constexpr int kMostLooks = 50;

std::vector<pid_t> listThreads(pid_t pid) {
    std::vector<pid_t> tids;
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(procPath(pid, "task").c_str()), closedir);
    while (dirent* entry = dir ? readdir(dir.get()) : nullptr) {
        if (pid_t tid = atoi(entry->d_name); tid > 0) {
            tids.push_back(tid);
        }
    }
    return tids;
}

std::string threadName(pid_t pid, pid_t tid) {
    std::string name = readProcFile(taskPath(pid, tid, "comm"));
    if (!name.empty() && name.back() == '\n') {
        name.pop_back();
    }
    return oneLine(name);
}

// EPERM has many meanings: kCaptured here says that the thread has merely exited.
CaptureResult whyRefused(pid_t tid) {
    std::string status = readProcFile(procPath(tid, "status"));
    std::string state = statusField(status, "State");
    if (state.empty() || state[0] == 'Z' || state[0] == 'X') {
        return CaptureResult::kCaptured;
    }
    return statusField(status, "TracerPid") == "0" ? CaptureResult::kNotPermitted
                                                   : CaptureResult::kTraced;
}

}  // namespace

bool TracedThreads::anyIn(State state) const {
    return std::any_of(mThreads.begin(), mThreads.end(),
                       [state](const TracedThread& thread) { return thread.state == state; });
}

void TracedThreads::stopAll(const Deadline& deadline, Deadline::Clock::duration patience) {
    // A thread that still runs may have started another one after the last look.
    for (int looks = 0; looks < kMostLooks && !deadline.expired(); looks++) {
        if (!seizeNewThreads() && !anyIn(State::kStopping)) {
            return;
        }
        if (!waitForStops(deadline.butAtMost(patience))) {
            return;
        }
    }
}

bool TracedThreads::seizeNewThreads() {
    std::vector<pid_t> tids = listThreads(mPid);
    if (mThreads.empty() && !tids.empty()) {
        std::iter_swap(tids.begin(), std::find(tids.begin(), tids.end() - 1, mPid));
    }
    size_t known = mThreads.size();
    for (pid_t tid : tids) {
        if (mKnown.insert(tid).second) {
            mThreads.emplace_back();
            mThreads.back().tid = tid;
            mThreads.back().name = threadName(mPid, tid);
        }
    }
    // Not before all names are read: from here on the process stands still.
    for (size_t i = known; i < mThreads.size(); i++) {
        seize(&mThreads[i]);
    }
    return mThreads.size() > known;
}

void TracedThreads::seize(TracedThread* thread) {
    if (ptrace(PTRACE_SEIZE, thread->tid, nullptr, nullptr) != 0) {
        thread->refusal = errno == ESRCH ? CaptureResult::kCaptured : whyRefused(thread->tid);
        thread->state =
                thread->refusal == CaptureResult::kCaptured ? State::kGone : State::kRefused;
    } else if (ptrace(PTRACE_INTERRUPT, thread->tid, nullptr, nullptr) != 0) {
        thread->state = State::kGone;
    }
}

bool TracedThreads::waitForStops(const Deadline& deadline) {
    auto pause = kFirstPause;
    bool any = collectStops();
    while (!any && anyIn(State::kStopping) && !deadline.expired()) {
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, kLongestPause);
        any = collectStops();
    }
    return any || !anyIn(State::kStopping);
}

bool TracedThreads::collectStops() {
    bool any = false;
    for (TracedThread& thread : mThreads) {
        if (thread.state == State::kStopping) {
            collectStop(&thread);
            any = any || thread.state == State::kStopped;
        }
    }
    return any;
}

void TracedThreads::collectStop(TracedThread* thread) {
    // A stop is looked at but not taken off the kernel's hands: with a stop for a signal's delivery
    // that would take the signal as well, and it would be lost if this process were killed now.
    siginfo_t info = {};
    int flags = WSTOPPED | WEXITED | WNOHANG | WNOWAIT | __WALL;
    if (waitid(P_PID, thread->tid, &info, flags) != 0) {
        thread->state = errno == EINTR ? thread->state : State::kGone;
    } else if (info.si_code == CLD_TRAPPED || info.si_code == CLD_STOPPED) {
        thread->state = State::kStopped;
        // A stop without an event waits for our word on its signal. Stops with one are the one
        // asked for or a group stop, to which the kernel returns by itself.
        bool event = info.si_status >> 8 != 0;
        thread->signal = event ? 0 : info.si_status;
    } else if (info.si_pid != 0) {
        thread->state = State::kGone;
        waitpid(thread->tid, nullptr, __WALL | WNOHANG);
    }
}

void TracedThreads::release(TracedThread* thread) {
    // Fails only for a thread killed meanwhile. As data ptrace takes the signal's number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    ptrace(PTRACE_DETACH, thread->tid, nullptr, reinterpret_cast<void*>(thread->signal));
    thread->state = State::kReleased;
}

}  // namespace debuggerd
