#include "host/debuggerd/NativeBacktrace.h"

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unwindstack/Maps.h>
#include <unwindstack/Regs.h>
#include <unwindstack/Unwinder.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "host/debuggerd/Abi.h"
#include "host/debuggerd/ProcFile.h"
#include "host/debuggerd/StackMemory.h"
#include "host/debuggerd/TracedThreads.h"

namespace debuggerd {

namespace {

using android::base::StringPrintf;
using State = TracedThread::State;

constexpr size_t kMostFrames = 256;
// How long threads that have stopped wait for those that have not.
constexpr auto kStopGrace = std::chrono::milliseconds(50);

// What is left of a thread when it runs on.
struct StoppedThread {
    pid_t tid;
    std::string name;
    std::unique_ptr<unwindstack::Regs> regs;
};

class NativeBacktrace {
  public:
    NativeBacktrace(pid_t pid, const Deadline& deadline, DumpFile* out)
          : mPid(pid), mDeadline(deadline), mOut(out), mThreads(pid) {}

    CaptureResult dump();

  private:
    void prepareUnwinder();
    std::vector<StoppedThread> takeStoppedThreads();
    void dumpThread(const StoppedThread& thread);
    void dumpRemarks();
    CaptureResult result() const;

    pid_t mPid;
    Deadline mDeadline;
    DumpFile* mOut;
    TracedThreads mThreads;
    std::unique_ptr<unwindstack::RemoteMaps> mMaps;
    std::shared_ptr<StackMemory> mMemory;
    std::unique_ptr<unwindstack::Unwinder> mUnwinder;
    bool mCutShort = false;
};

std::string threadHeader(const std::string& name, pid_t tid) {
    return StringPrintf("\n\"%s\" sysTid=%d\n", name.c_str(), tid);
}

std::string remarkOn(pid_t pid, const TracedThread& thread) {
    if (thread.state == State::kStopping) {
        std::string channel = oneLine(readProcFile(taskPath(pid, thread.tid, "wchan")));
        return "  (did not stop in time; wait channel: " + channel + ")\n";
    }
    if (thread.refusal == CaptureResult::kTraced) {
        std::string status = readProcFile(taskPath(pid, thread.tid, "status"));
        return "  (is being traced by process " + statusField(status, "TracerPid") + ")\n";
    }
    return "  (tracing it is not permitted)\n";
}

CaptureResult NativeBacktrace::dump() {
    mThreads.stopAll(mDeadline, kStopGrace);
    if (!mThreads.anyIn(State::kStopped) && !mThreads.anyIn(State::kStopping)) {
        CaptureResult why = result();
        return why == CaptureResult::kCaptured ? CaptureResult::kNoSuchProcess : why;
    }
    prepareUnwinder();
    std::vector<StoppedThread> stopped = takeStoppedThreads();
    if (stopped.empty() && !mThreads.anyIn(State::kStopping)) {
        return CaptureResult::kNoSuchProcess;  // killed a moment ago
    }
    mOut->begin(mPid, abiName(stopped.empty() ? unwindstack::Regs::CurrentArch()
                                              : stopped[0].regs->Arch()));
    while (true) {
        for (const StoppedThread& thread : stopped) {
            dumpThread(thread);
        }
        if (!mThreads.anyIn(State::kStopping) || mDeadline.expired()) {
            break;
        }
        mOut->flush();
        mThreads.waitForStops(mDeadline);
        stopped = takeStoppedThreads();
    }
    dumpRemarks();
    mOut->end(mPid);
    return mOut->flush() ? result() : CaptureResult::kWriteFailed;
}

// To be called while threads stand still, so that the maps fit their registers.
void NativeBacktrace::prepareUnwinder() {
    // The address space belongs to all threads, but can't be reached through a main thread that has
    // exited before the others.
    const std::vector<TracedThread>& threads = mThreads.threads();
    auto living = std::find_if(threads.begin(), threads.end(), [](const TracedThread& thread) {
        return thread.state == State::kStopped || thread.state == State::kStopping;
    });
    mMaps = std::make_unique<unwindstack::RemoteMaps>(living->tid);
    mMaps->Parse();
    mMemory = std::make_shared<StackMemory>(living->tid);
    mUnwinder = std::make_unique<unwindstack::Unwinder>(kMostFrames, mMaps.get(), mMemory);
}

std::vector<StoppedThread> NativeBacktrace::takeStoppedThreads() {
    std::vector<StoppedThread> stopped;
    for (TracedThread& thread : mThreads.threads()) {
        if (thread.state != State::kStopped) {
            continue;
        }
        std::unique_ptr<unwindstack::Regs> regs(unwindstack::Regs::RemoteGet(thread.tid));
        unwindstack::MapInfo* stack = regs ? mMaps->Find(regs->sp()) : nullptr;
        if (stack != nullptr) {
            mMemory->copyStack(regs->sp(), stack->end);
        }
        mThreads.release(&thread);
        // Without registers it was killed meanwhile.
        if (regs) {
            stopped.push_back({thread.tid, std::move(thread.name), std::move(regs)});
        }
    }
    return stopped;
}

void NativeBacktrace::dumpThread(const StoppedThread& thread) {
    if (mDeadline.expired()) {
        mCutShort = true;
        mOut->append(threadHeader(thread.name, thread.tid) + "  (no time left to unwind it)\n");
        return;
    }
    mUnwinder->SetRegs(thread.regs.get());
    mUnwinder->Unwind();
    std::string text = threadHeader(thread.name, thread.tid);
    for (size_t i = 0; i < mUnwinder->NumFrames(); i++) {
        text += mUnwinder->FormatFrame(i) + '\n';
    }
    mOut->append(text);
}

void NativeBacktrace::dumpRemarks() {
    for (const TracedThread& thread : mThreads.threads()) {
        if (thread.state == State::kStopping || thread.state == State::kRefused) {
            mOut->append(threadHeader(thread.name, thread.tid) + remarkOn(mPid, thread));
        }
    }
}

CaptureResult NativeBacktrace::result() const {
    if (mCutShort || mThreads.anyIn(State::kStopping)) {
        return CaptureResult::kTimedOut;
    }
    for (const TracedThread& thread : mThreads.threads()) {
        if (thread.state == State::kRefused) {
            return thread.refusal;
        }
    }
    return CaptureResult::kCaptured;
}

}  // namespace

CaptureResult dumpNativeBacktrace(pid_t pid, const Deadline& deadline, DumpFile* out) {
    android::base::unique_fd lock(open(procPath(pid, "").c_str(), O_RDONLY | O_CLOEXEC));
    if (lock == -1) {
        return CaptureResult::kNoSuchProcess;
    }
    // Waiting has no deadline of its own: the caller ends this process when its time is up.
    flock(lock.get(), LOCK_EX);
    return NativeBacktrace(pid, deadline, out).dump();
}

}  // namespace debuggerd
