#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "benchmarks/request/FloorWork.h"
#include "benchmarks/request/Load.h"
#include "diagnostics/OutgoingTransactionReport.h"
#include "zevo/stallscope/IStallscope.h"

// What a client waits for getTransaction, beside what the same work costs at least. To be run in
// the guest by benchmarks/run.

namespace {

using namespace android;
using namespace android::benchmarks;
using zevo::stallscope::IStallscope;
using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

const char* const kServiceName = "StallScopeService";

double millisecondsOf(const std::function<void()>& work) {
    Clock::time_point begin = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(values.size() * share))];
}

// Null while it is not registered; never has it started.
sp<IBinder> findService() {
    return defaultServiceManager()->checkService(String16(kServiceName));
}

using Lists = std::array<Texts, 8>;

// The number of lines in the answer.
size_t getTransaction(const sp<IStallscope>& service, pid_t pid) {
    Lists l;
    bool isBlocked = false;
    service->getTransaction(pid, &l[0], &l[1], &l[2], &l[3], &l[4], &l[5], &l[6], &l[7],
                            &isBlocked);
    return l[0].size();
}

// What the daemon does in that call.
Lists report(pid_t pid) {
    Lists l;
    BinderLogParser parser;
    parser.parse(kBinderLogPath);
    getBinderTransactions(pid, parser, &l[0], &l[1], &l[2], &l[3], &l[4], &l[5], &l[6], &l[7]);
    return l;
}

// What the stubs do to the answer on its way.
void packAndUnpack(const Lists& lists) {
    Parcel parcel;
    for (const Texts& list : lists) {
        parcel.writeUtf8VectorAsUtf16Vector(list);
    }
    parcel.setDataPosition(0);
    for (size_t i = 0; i < lists.size(); ++i) {
        Texts unpacked;
        parcel.readUtf8VectorFromUtf16Vector(&unpacked);
    }
}

// Times of one thing, and how often the other fits into it, call by call.
struct Times {
    std::vector<double> request;
    std::vector<double> floor;
    std::vector<double> ratio;
    size_t lines = 0;
};

// One client, which makes a call and does the work of its floor in turn.
void callAndCompare(const sp<IStallscope>& service, pid_t pid,
                    const std::vector<std::string>& files, int calls, Times* times,
                    std::mutex* lock) {
    for (int i = 0; i < calls; ++i) {
        size_t lines = 0;
        double request = millisecondsOf([&] { lines = getTransaction(service, pid); });
        double floor = millisecondsOf([&] {
            IInterface::asBinder(service)->pingBinder();
            readLog();
            readAll(files, lines * kFilesPerCall);
        });
        std::lock_guard<std::mutex> guard(*lock);
        times->request.push_back(request);
        times->floor.push_back(floor);
        times->ratio.push_back(request / floor);
        times->lines += lines;
    }
}

void compare(const sp<IStallscope>& service, const Load& load, int calls, int clients, int total) {
    std::vector<std::string> files = filesFor(callsOf(load.caller()));
    Times times;
    std::mutex lock;
    std::vector<std::thread> threads;
    for (int client = 0; client < clients; ++client) {
        threads.emplace_back(callAndCompare, service, load.caller(), files, total / clients, &times,
                             &lock);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    printf("| %d | %d | %zu | %zu | %.2f | %.2f | %.2f | %.2f | **%.2f** |\n", calls, clients,
           times.request.size(), times.lines / times.request.size(), quantile(times.request, 0.5),
           quantile(times.request, 0.99), quantile(times.floor, 0.5), quantile(times.floor, 0.99),
           quantile(times.ratio, 0.5));
    fflush(stdout);
}

// Of a hundred times; the ones to leave out return false.
double median(const std::function<bool()>& work) {
    std::vector<double> times;
    for (int i = 0; i < 1000 && times.size() < 100; ++i) {
        bool counts = false;
        const double time = millisecondsOf([&] { counts = work(); });
        if (counts) {
            times.push_back(time);
        }
    }
    return times.empty() ? 0 : quantile(times, 0.5);
}

// Leaves out the times at which the kernel left out part of its log.
void printParts(const sp<IStallscope>& service, const Load& load, int calls) {
    const std::vector<std::string> files = filesFor(callsOf(load.caller()));
    Lists answer;
    size_t logSize = 0;
    for (int i = 0; i < 100; ++i) {
        logSize = std::max(logSize, readLog());
        Lists each = report(load.caller());
        answer = each[0].size() > answer[0].size() ? each : answer;
    }
    const size_t lines = answer[0].size();
    const double ping = median([&] { return IInterface::asBinder(service)->pingBinder() == OK; });
    const double log = median([&] { return readLog() > logSize / 10 * 9; });
    const double proc = median([&] { return readAll(files, lines * kFilesPerCall), true; });
    const double reporting = median([&] { return report(load.caller())[0].size() == lines; });
    const double packing = median([&] { return packAndUnpack(answer), true; });
    printf("| %d | %zu | %.2f | %.2f (%zu kB) | %.2f (%zu) | %.2f | %.2f |\n", calls, lines, ping,
           log, logSize / 1024, proc, lines * kFilesPerCall, reporting, packing);
    fflush(stdout);
}

// From exec until servicemanager knows it and it answers.
double startDaemon(const std::string& daemon, pid_t* pid) {
    return millisecondsOf([&] {
        *pid = start({daemon});
        sp<IBinder> service;
        while ((service = findService()) == nullptr || service->pingBinder() != OK) {
            usleep(500);
        }
    });
}

int residentKilobytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return atoi(line.c_str() + strlen("VmRSS:"));
        }
    }
    return -1;
}

void measureMemory(const sp<IStallscope>& service, pid_t daemon, const Load& load, int total) {
    printf("\nResident memory of the daemon: idle %d kB", residentKilobytes(daemon));
    for (int calls = 1; calls <= total; ++calls) {
        getTransaction(service, load.caller());
        if (calls == total / 100 || calls == total) {
            printf(", after %d calls %d kB", calls, residentKilobytes(daemon));
        }
    }
    printf(".\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s DAEMON STAGE_PROCESS [CALLS]\n", argv[0]);
        return 2;
    }
    const int total = argc > 3 ? atoi(argv[3]) : 1000;
    ProcessState::self()->startThreadPool();
    pid_t daemon = 0;
    std::vector<double> starts;
    for (int i = 0; i < 5; ++i) {
        if (daemon != 0) {
            stop(daemon);
            usleep(200'000);  // until servicemanager has noticed
        }
        starts.push_back(startDaemon(argv[1], &daemon));
    }
    printf("From exec to registered: %.0f ms (median of %zu).\n", quantile(starts, 0.5),
           starts.size());
    sp<IStallscope> service = interface_cast<IStallscope>(findService());
    measureMemory(service, daemon, Load(argv[2], 10), 10 * total);
    printf("\n| in flight | clients | calls | lines | getTransaction, ms | p99 | floor, ms | p99 | "
           "ratio |\n|---|---|---|---|---|---|---|---|---|\n");
    for (int calls : {10, 100, 1000}) {
        std::unique_ptr<Load> load = wholeLoad(argv[2], calls);
        for (int clients : {1, 4, 10}) {
            compare(service, *load, calls, clients, total);
        }
    }
    printf("\n| in flight | lines | an empty call, ms | reading the log | reading /proc | "
           "parse and report | packing and unpacking |\n|---|---|---|---|---|---|---|\n");
    for (int calls : {10, 100}) {
        printParts(service, *wholeLoad(argv[2], calls), calls);
    }
    stop(daemon);
    return 0;
}
