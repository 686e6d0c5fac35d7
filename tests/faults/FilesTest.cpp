// What can be wrong with the file that a caller names.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;

constexpr char kPlace[] = "/tmp/place";
constexpr off_t kPage = 4096;
constexpr pid_t kCaller = 4000001;

// The four ways of writing a file. A pid list is dumped by the same function, synchronously or not.
enum Way { kFds, kTrace, kList, kJob, kWays };
const char* const kWayNames[kWays] = {"descriptors", "trace", "list", "job"};

// A process whose stacks and descriptors take more than a page each.
pid_t crowd() {
    static const pid_t sCrowd = stageProcess("--cmdline fault.crowd --adj -1000 --idle-threads 40");
    static const bool sIsReady =
            eventually([] { return statusOf(sCrowd, "Threads") == "42" && isNative(sCrowd); });
    return sIsReady ? sCrowd : 0;
}

pid_t holderOfDescriptors() {
    static const bool sOpened = [] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_LE(0, open("/dev/null", O_RDONLY));
        }
        return true;
    }();
    return sOpened ? getpid() : 0;
}

// A caller whose report takes more than a page. A job gives each of its peers one second, too
// little to rely on in an emulated machine: this one has no peers that could be captured.
std::string writeJobLog() {
    const std::string path = "/tmp/job-log";
    std::string log = "proc 4000001\n";
    for (int i = 0; i < 50; ++i) {
        log += "    outgoing transaction 1: 0 from 4000001:4000001 to 4000002:4000003 code 7 flags "
               "10 "
               "pri 0 r1 elapsed 5000ms\n";
    }
    writeFile(path, log);
    return path;
}

bool write(const sp<IStallscope>& daemon, Way way, const std::string& file) {
    bool isCaptured = true;
    binder::Status status;
    if (way == kFds) {
        status = daemon->catchFdInfo(file, holderOfDescriptors());
    } else if (way == kTrace) {
        status = daemon->dumpTraceForPidWithTimeout(crowd(), 20, file, &isCaptured);
    } else if (way == kList) {
        status = daemon->dumpTraceForPidList({crowd()}, "subject", file);
    } else {
        OtherKernelLog log(writeJobLog());
        status = daemon->dumpTraceWithBinderInfo(kCaller, true, {}, String16(file.c_str()));
        EXPECT_TRUE(eventually(isDaemonIdle));
    }
    EXPECT_TRUE(status.isOk()) << status;
    return isCaptured;
}

// Whether a file is as it should be when nothing was wrong.
bool isWhole(Way way, const std::string& text) {
    const std::string start[kWays] = {"/proc/", "\n\n----- pid ", "subject\n", "Binder Info:\nout"};
    const std::string end[kWays] = {"/null\n", "-----\n", "-----\n", "code: 7\n"};
    const size_t at = text.size() - end[way].size();
    return text.size() > kPage && text.rfind(start[way], 0) == 0 && text.find(end[way], at) == at &&
           hasWholeSections(text);
}

struct Fault {
    const char* name;
    std::function<std::string()> prepare;  // gives the path
    Texts errors[kWays];                   // FILE, CROWD and PEER stand for the path and for pids
    intmax_t size;                         // of the file afterwards, -1 when there is none
};

std::string filledIn(std::string line, const std::string& file) {
    const std::pair<std::string, std::string> words[] = {
            {"FILE", file},
            {"CROWD", std::to_string(crowd())},
            {"DIRECTORY", fs::path(file).parent_path()}};
    for (const auto& [word, value] : words) {
        if (size_t at = line.find(word); at != std::string::npos) {
            line.replace(at, word.size(), value);
        }
    }
    return line;
}

bool isAboutNobody(const std::string& error) {
    return error.find("pid: 4000002") != std::string::npos;
}

void expectFault(const sp<IStallscope>& daemon, const Fault& fault, Way way) {
    SCOPED_TRACE(std::string(fault.name) + ", " + kWayNames[way]);
    const std::string file = fault.prepare();
    const pid_t pid = daemonPid();
    const size_t fds = countFds(pid);
    takeErrors();
    EXPECT_EQ(way != kTrace, write(daemon, way, file));
    Texts expected;
    for (const std::string& line : fault.errors[way]) {
        expected.push_back(filledIn(line, file));
    }
    Texts errors = takeErrors();
    // How a capture of nobody fails depends on the time that an emulated machine takes for it.
    errors.erase(std::remove_if(errors.begin(), errors.end(), isAboutNobody), errors.end());
    EXPECT_EQ(expected, errors);
    std::error_code error;
    bool isThere = fs::is_regular_file(file, error);
    EXPECT_EQ(fault.size, isThere ? static_cast<intmax_t>(fs::file_size(file)) : -1);
    EXPECT_EQ(pid, daemonPid());
    EXPECT_EQ(fds, countFds(pid));
}

std::string inPlace(const std::string& name) {
    return std::string(kPlace) + "/" + name;
}

class FilesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(kPlace);
        hang();
        mDaemon = stallscope();
    }
    void TearDown() override { expectEverythingWorks(mDaemon); }

    sp<IStallscope> mDaemon;
};

const Texts kFdsFail = {"writeFdInfoToFile: open filePath fail: FILE"};
const Texts kTraceFails = {"dumpTraces: Can't open file: FILE",
                           "dumpBacktraceToFileTimeout: Native stack dump failed for pid CROWD"};
const Texts kListFails = {"dumpTraceForAllProcess: Failed to write subject to file"};
const Texts kJobFails = {"dumpTraceAndBinderInfo: Failed to open file: FILE"};

TEST_F(FilesTest, FileThatCannotBeOpenedIsLogged) {
    const std::string mkdirFails = "dumpTraceAndBinderInfo: Failed to create directory: DIRECTORY";
    FileSystem readOnly(inPlace("read-only"), "");
    readOnly.remount("", MS_RDONLY);
    FileSystem noInode(inPlace("no-inode"), "nr_inodes=1");
    fs::create_directories(inPlace("directory"));
    EXPECT_EQ(0, mkfifo(inPlace("fifo").c_str(), 0666));
    const Fault faults[] = {
            {"directory",
             [] { return inPlace("directory"); },
             {kFdsFail, kTraceFails, kListFails, kJobFails},
             -1},
            {"FIFO that nobody reads",
             [] { return inPlace("fifo"); },
             {kFdsFail, {}, kListFails, kJobFails},
             -1},
            {"read-only",
             [] { return inPlace("read-only/file"); },
             {kFdsFail, kTraceFails, kListFails, kJobFails},
             -1},
            {"read-only, with a new folder",
             [] { return inPlace("read-only/new/file"); },
             {kFdsFail, kTraceFails, kListFails, {mkdirFails + " [error: Read-only file system]"}},
             -1},
            {"no inode",
             [] { return inPlace("no-inode/file"); },
             {kFdsFail, kTraceFails, kListFails, kJobFails},
             -1},
            {"no inode for a folder",
             [] { return inPlace("no-inode/new/file"); },
             {kFdsFail,
              kTraceFails,
              kListFails,
              {mkdirFails + " [error: No space left on device]"}},
             -1},
            {"5,000 characters",
             [] { return inPlace(std::string(5000, 'x')); },
             {kFdsFail, kTraceFails, kListFails, kJobFails},
             -1},
            {"empty",
             [] { return ""; },
             {kFdsFail,
              {"dumpTraces: File name is empty.", kTraceFails[1]},
              kListFails,
              {mkdirFails + " [error: Invalid argument]"}},
             -1}};
    for (const Fault& fault : faults) {
        for (Way way : {kFds, kTrace, kList, kJob}) {
            // A trace waits for the reader of a FIFO.
            if (!fault.errors[way].empty()) {
                expectFault(mDaemon, fault, way);
            }
        }
    }
}

TEST_F(FilesTest, FullFileSystemTakesWhatFits) {
    FileSystem fileSystem(inPlace("full"), "size=8k");
    auto prepare = [](size_t taken) {
        return [taken] {
            unlink(inPlace("full/file").c_str());
            writeFile(inPlace("full/other"), std::string(taken, 'x'));
            return inPlace("full/file");
        };
    };
    const Texts captureFails = {"dumpTraces: Failed to dump backtrace for pid: CROWD, result 7",
                                kTraceFails[1]};
    // The missing lines of descriptors and of the report are logged by nobody.
    const Texts errors[kWays] = {{}, captureFails, captureFails, {}};
    for (Way way : {kFds, kTrace, kList, kJob}) {
        for (const Fault& fault : {Fault{"no room at all", prepare(2 * kPage), {}, 0},
                                   Fault{"room for a page", prepare(kPage), {}, kPage}}) {
            Fault withErrors = fault;
            withErrors.errors[way] = errors[way];
            expectFault(mDaemon, withErrors, way);
        }
    }
    fileSystem.remount("size=1m");
    for (Way way : {kFds, kTrace, kList, kJob}) {
        const std::string file = prepare(0)();
        EXPECT_TRUE(write(mDaemon, way, file));
        EXPECT_TRUE(isWhole(way, readFile(file))) << kWayNames[way] << readFile(file);
    }
}

TEST_F(FilesTest, LinkIsFollowedExceptByCaptures) {
    auto prepare = [] {
        writeFile(inPlace("target"), "");
        unlink(inPlace("link").c_str());
        EXPECT_EQ(0, symlink("target", inPlace("link").c_str()));
        return inPlace("link");
    };
    auto writtenBy = [&](Way way) {
        takeErrors();
        write(mDaemon, way, prepare());
        return readFile(inPlace("target"));
    };
    const std::string refused = "dumpTraces: Can't open file: " + inPlace("link");
    EXPECT_TRUE(isWhole(kFds, writtenBy(kFds)));
    EXPECT_EQ(Texts(), takeErrors());
    EXPECT_EQ("", writtenBy(kTrace));
    EXPECT_EQ(refused, takeErrors().at(0));
    EXPECT_EQ("subject\n", writtenBy(kList));
    EXPECT_EQ(refused, takeErrors().at(0));
    EXPECT_TRUE(isWhole(kJob, writtenBy(kJob)));
    EXPECT_EQ(refused, takeErrors().at(0));
}

// A trace's open waits for a reader, and nothing but a reader ends that.
TEST_F(FilesTest, TracesIntoAFifoThatNobodyReadsHoldOneThreadEach) {
    const std::string fifo = inPlace("held");
    EXPECT_EQ(0, mkfifo(fifo.c_str(), 0666));
    std::vector<std::future<bool>> held;
    for (int i = 0; i < 9; ++i) {
        held.push_back(
                std::async(std::launch::async, [&] { return write(mDaemon, kTrace, fifo); }));
    }
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 9; }));
    expectEverythingWorks(mDaemon);
    std::future<std::string> reader = std::async(std::launch::async, readFile, fifo);
    for (std::future<bool>& call : held) {
        EXPECT_TRUE(call.get());
    }
    EXPECT_TRUE(isWhole(kTrace, reader.get()));
}

// What was written is then forced to storage, for which the file is opened again, like a trace's.
TEST_F(FilesTest, ListingForAReaderThatLeftHoldsOneThread) {
    const std::string fifo = inPlace("synced");
    EXPECT_EQ(0, mkfifo(fifo.c_str(), 0666));
    int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_LE(0, fcntl(reader, F_SETPIPE_SZ, kPage));
    std::future<bool> call =
            std::async(std::launch::async, [&] { return write(mDaemon, kFds, fifo); });
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("pipe_write") == 1; }));
    close(reader);
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 1; }));
    expectEverythingWorks(mDaemon);
    close(open(fifo.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_TRUE(call.get());
}

TEST_F(FilesTest, ReaderThatGoesAwayIsSurvived) {
    const std::string fifo = inPlace("left");
    EXPECT_EQ(0, mkfifo(fifo.c_str(), 0666));
    const pid_t pid = daemonPid();
    for (Way way : {kFds, kList, kJob}) {
        std::atomic<bool> isDone = false;
        std::thread reader([&] {
            while (!isDone) {
                close(open(fifo.c_str(), O_RDONLY | O_NONBLOCK));
            }
        });
        for (int i = 0; i < (way == kFds ? 50 : 3); ++i) {
            write(mDaemon, way, fifo);
        }
        isDone = true;
        reader.join();
        ASSERT_EQ(pid, daemonPid()) << kWayNames[way];
    }
}

TEST_F(FilesTest, FolderRemovedMeanwhileLosesTheRestOfTheList) {
    const std::string file = inPlace("removed/file");
    fs::create_directories(inPlace("removed"));
    takeErrors();
    EXPECT_TRUE(mDaemon->dumpTraceForPidListAsync(std::vector<int>(6, crowd()), "subject", file)
                        .isOk());
    EXPECT_TRUE(eventually([&] { return readFile(file).size() > kPage; }));
    fs::remove_all(inPlace("removed"));
    EXPECT_TRUE(eventually(isDaemonIdle));
    EXPECT_THAT(takeErrors(), ::testing::Contains("dumpTraces: Can't open file: " + file));
    EXPECT_FALSE(fs::exists(inPlace("removed")));
}

}  // namespace
}  // namespace android::test
