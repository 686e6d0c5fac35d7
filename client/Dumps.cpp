#include <utils/String16.h>

#include <chrono>
#include <thread>

#include "client/Commands.h"

namespace android {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPollPause(200);

constexpr const char* kWhereToLook = "; the daemon's log says why";

Result notWritten(const std::string& file) {
    return {kFailed, "the daemon did not write " + file +
                             ", or not where it can be seen from here" + kWhereToLook};
}

bool isWritten(const Request& request) {
    return FileState::of(request.arguments.file) != request.before;
}

void reportFile(const Request& request, const std::string& what) {
    const FileState now = FileState::of(request.arguments.file);
    request.report->number("size", now.size);
    request.report->say(what + ": " + request.arguments.file + " (" + std::to_string(now.size) +
                        " bytes)");
}

// For a job that goes on in the background. A daemon that was started on demand is stopped some
// seconds after its last client has gone, and such a job with it.
void reportStarted(const Request& request, const char* precaution) {
    request.report->flag("started", true);
    request.report->say("Started; the daemon captures in the background into " +
                        request.arguments.file);
    if (request.arguments.waitSecs == 0) {
        request.report->say("Without a client it is stopped after some seconds, done or not; " +
                            std::string(precaution) + " to be sure of all stacks.");
    }
}

}  // namespace

Result askFds(const Request& request) {
    const int32_t pid = request.arguments.pid;
    int32_t entries = -1;
    const binder::Status status = request.service->getFdSize(pid, &entries);
    if (!status.isOk()) {
        return callFailed(status);
    }
    if (entries < 0) {
        return {checkProcess(pid).failed() ? kNoProcess : kFailed,
                "the daemon cannot list /proc/" + std::to_string(pid) +
                        "/fd; the process is gone, or the daemon may not look into it"};
    }
    request.report->number("entries", entries);
    request.report->number("openDescriptors", entries - 2);
    request.report->say("Process " + describeProcess(pid) + " has " + std::to_string(entries - 2) +
                        " open descriptors (" + std::to_string(entries) +
                        " entries, . and .. included).");
    return {};
}

Result askListFds(const Request& request) {
    const Arguments& arguments = request.arguments;
    const binder::Status status = request.service->catchFdInfo(arguments.file, arguments.pid);
    if (!status.isOk()) {
        return callFailed(status);
    }
    if (!isWritten(request)) {
        return notWritten(arguments.file);
    }
    reportFile(request, "The open descriptors of process " + describeProcess(arguments.pid));
    return {};
}

Result askDump(const Request& request) {
    const Arguments& arguments = request.arguments;
    bool captured = false;
    const binder::Status status = request.service->dumpTraceForPidWithTimeout(
            arguments.pid, arguments.timeoutSecs, arguments.file, &captured);
    if (!status.isOk()) {
        return callFailed(status);
    }
    if (!captured) {
        return {kFailed, "no stacks of process " + std::to_string(arguments.pid) + " within " +
                                 std::to_string(arguments.timeoutSecs) + " seconds" + kWhereToLook};
    }
    if (!isWritten(request)) {
        return notWritten(arguments.file);
    }
    reportFile(request, "The stacks of process " + describeProcess(arguments.pid));
    return {};
}

Result askDumpList(const Request& request) {
    const Arguments& arguments = request.arguments;
    const auto dump = arguments.async ? &IStallscope::dumpTraceForPidListAsync
                                      : &IStallscope::dumpTraceForPidList;
    const binder::Status status =
            (*request.service.*dump)(arguments.pids, arguments.subject, arguments.file);
    if (!status.isOk()) {
        return callFailed(status);
    }
    if (arguments.async) {
        reportStarted(request, "leave out --async");
        return {};
    }
    if (!isWritten(request)) {
        return notWritten(arguments.file);
    }
    const auto subjectLine = static_cast<off_t>(arguments.subject.size() + 1);
    if (FileState::of(arguments.file).size <= subjectLine) {
        return {kFailed, "no stacks of any process; " + arguments.file + " holds only the subject" +
                                 kWhereToLook};
    }
    reportFile(request, "The stacks");
    return {};
}

Result askDumpBinder(const Request& request) {
    const Arguments& arguments = request.arguments;
    std::vector<String16> names;
    for (const std::string& name : arguments.names) {
        names.emplace_back(name.c_str());
    }
    const binder::Status status = request.service->dumpTraceWithBinderInfo(
            arguments.pid, !arguments.noBinderInfo, names, String16(arguments.file.c_str()));
    if (!status.isOk()) {
        return callFailed(status);
    }
    // The report is written before the call returns, the stacks after it.
    if (!arguments.noBinderInfo && !isWritten(request)) {
        return notWritten(arguments.file);
    }
    reportStarted(request, "use --wait");
    return {};
}

Result followFile(const Request& request) {
    const std::string& file = request.arguments.file;
    const auto deadline = steady_clock::now() + std::chrono::seconds(request.arguments.waitSecs);
    Growth growth(request.before, steady_clock::now());
    bool quiet = false;
    while (!quiet && steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kPollPause);
        quiet = growth.isOver(FileState::of(file), steady_clock::now());
    }
    if (!isWritten(request)) {
        return notWritten(file);
    }
    const off_t size = FileState::of(file).size;
    request.report->number("size", size);
    request.report->flag("quiet", quiet);
    request.report->say((quiet ? "No longer growing, so probably done: "
                               : "Still growing at the end of the wait: ") +
                        std::to_string(size) + " bytes");
    return {};
}

}  // namespace android
