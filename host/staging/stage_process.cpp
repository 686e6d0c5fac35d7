// One process of a staged hang; README.md lists its knobs.

#include "host/staging/Stage.h"

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <thread>

using android::ProcessState;

namespace stage {
namespace {

// Lives as long as the process: threads that are parked for ever refer to it.
class StagedProcess : public android::BBinder {
  public:
    explicit StagedProcess(const Options& options)
          : mOptions(options), mOnCall(options.text("on-call")) {}

    // False, after a message on stderr, when the process can't take its place.
    bool setUp();
    void run();

  protected:
    android::status_t onTransact(uint32_t, const android::Parcel&, android::Parcel*,
                                 uint32_t) override {
        if (const std::string& gate = mOptions.text("gate"); !gate.empty()) {
            waitForFile(gate);
        }
        perform(mOnCall);
        return android::OK;
    }

  private:
    bool setAdj();
    void startThreads();
    bool registerService();
    void perform(const Action& action);

    const Options mOptions;
    const Action mOnCall;
    std::mutex mLock;
};

bool StagedProcess::setAdj() {
    const std::string& adj = mOptions.text("adj");
    if (!adj.empty() && !(std::ofstream("/proc/self/oom_score_adj") << adj << std::flush)) {
        std::cerr << "stage_process: can't set oom_score_adj to " << adj << "; be root\n";
        return false;
    }
    return true;
}

bool StagedProcess::registerService() {
    const std::string& name = mOptions.text("serve");
    if (name.empty()) {
        return true;
    }
    const auto manager = android::defaultServiceManager();
    if (manager->addService(android::String16(name.c_str()), this) != android::OK) {
        std::cerr << "stage_process: servicemanager refuses " << name << "\n";
        return false;
    }
    return true;
}

bool StagedProcess::setUp() {
    const int pool = mOptions.number("threads");
    if (mOptions.number("hold-lock") != 0) {
        mLock.lock();
    }
    const auto process = ProcessState::self();
    if (mOptions.number("heir") != 0 && fork() == 0) {
        waitForTheEnd();
    }
    // The pool starts with one thread; the kernel asks for the others when all are busy.
    process->setThreadPoolMaxThreadCount(pool > 0 ? static_cast<size_t>(pool) - 1 : 0);
    if (pool > 0) {
        process->startThreadPool();
    }
    return setAdj() && registerService();
}

void StagedProcess::startThreads() {
    for (const std::string& thread : mOptions.threads()) {
        std::thread([this, thread] {
            const size_t equals = thread.find('=');
            prctl(PR_SET_NAME, thread.substr(0, equals).c_str());
            perform(Action(thread.substr(equals + 1)));
            waitForTheEnd();
        }).detach();
    }
    for (int i = 0; i < mOptions.number("idle-threads"); ++i) {
        std::thread(waitForTheEnd).detach();
    }
}

void StagedProcess::run() {
    startThreads();
    usleep(static_cast<useconds_t>(mOptions.number("delay-ms")) * 1000);
    perform(Action(mOptions.text("main")));
    if (mOptions.number("threads") == 0) {
        android::IPCThreadState::self()->joinThreadPool();
    }
    waitForTheEnd();
}

void StagedProcess::perform(const Action& action) {
    if (action.verb == "park") {
        waitForSensorThatNeverAnswers(mOptions.number("park-ms"));
    } else if (action.verb == "lock") {
        waitForLockHeldByMainThread(&mLock);
    } else if (action.verb == "uninterruptible") {
        waitForChildThatNeverExecs();
    } else if (action.verb == "call") {
        for (int i = 0; i < action.count; ++i) {
            callServiceAndWait(action.target, mOptions.code());
        }
    } else if (action.verb == "oneway") {
        for (int i = 0; i < action.count; ++i) {
            sendOneWay(action.target, mOptions.code());
        }
    } else if (action.verb == "self") {
        callOwnServiceThroughSecondDriver(action.target, mOptions.code());
    } else if (action.verb == "exit") {
        _exit(EXIT_SUCCESS);
    } else if (action.verb != "idle") {
        std::cerr << "stage_process: unknown action " << action.verb << "\n";
        _exit(EXIT_FAILURE);
    }
}

}  // namespace
}  // namespace stage

int main(int argc, char** argv) {
    stage::Options options;
    if (!options.parse(argc, argv)) {
        return 2;
    }
    stage::takeIdentity(options, argv);
    const android::sp<stage::StagedProcess> process = new stage::StagedProcess(options);
    if (!process->setUp()) {
        return 1;
    }
    process->run();
}
