// What can be wrong with the file that a caller names.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

namespace fs = std::filesystem;
using namespace testing;

constexpr off_t kPage = 4096;

// The four ways of writing a file. A pid list is dumped by the same function, synchronously or not.
enum Way { kFds, kTrace, kList, kJob };
constexpr Way kWays[] = {kFds, kTrace, kList, kJob};
const char* const kWriters[] = {"writeFdInfoToFile", "dumpTraces", "dumpTraceForAllProcess",
                                "dumpTraceAndBinderInfo"};

// A file as it should be when nothing was wrong.
testing::Matcher<std::string> isWhole(Way way) {
    const char* const starts[] = {"/proc/", "\n\n----- pid ", "subject\n", "Binder Info:\nout"};
    const char* const ends[] = {"\n", "-----\n", "-----\n", "code: 7\n"};
    return AllOf(StartsWith(starts[way]), EndsWith(ends[way]), SizeIs(Gt(kPage)),
                 Truly(hasWholeSections));
}

std::string inPlace(const std::string& name) {
    return "/tmp/place/" + name;
}

// A file system in memory for the rest of the guest's life.
void mountAt(const std::string& name, const std::string& options) {
    fs::create_directories(inPlace(name));
    EXPECT_EQ("", output("mount -t tmpfs -o " + options + " tmpfs " + inPlace(name) + " 2>&1"));
}

class FilesTest : public FaultTest {
  protected:
    static void SetUpTestSuite() {
        sCrowd = stageCrowd();
        for (int i = 0; i < 200; ++i) {
            EXPECT_LE(0, open("/dev/null", O_RDONLY));
        }
        // A caller whose report takes more than a page. A job gives each of its peers one second,
        // too little to rely on in an emulated machine: this one has no peer but itself.
        std::string log = "proc 4000001\n";
        for (int i = 0; i < 50; ++i) {
            log += "  outgoing transaction 1: 0 from 4000001:4000001 to 4000001:4000003 code 7 "
                   "flags 10 pri 0 r1 elapsed 5000ms\n";
        }
        writeFile("/tmp/job-log", log);
    }
    void SetUp() override {
        fs::create_directories(inPlace(""));
        FaultTest::SetUp();
    }

    // Writes more than a page; false when a trace says that it has failed.
    bool write(Way way, const std::string& file) {
        if (way == kTrace) {
            return capture(mDaemon, sCrowd, file);
        }
        binder::Status status;
        if (way == kFds) {
            status = mDaemon->catchFdInfo(file, getpid());
        } else if (way == kList) {
            status = mDaemon->dumpTraceForPidList({sCrowd}, "subject", file);
        } else {
            OtherKernelLog log("/tmp/job-log");
            status = mDaemon->dumpTraceWithBinderInfo(4000001, true, {}, String16(file.c_str()));
            EXPECT_TRUE(eventually(isDaemonIdle));
        }
        EXPECT_TRUE(status.isOk()) << status;
        return true;
    }

    static pid_t sCrowd;
};
pid_t FilesTest::sCrowd = 0;

TEST_F(FilesTest, FileThatCannotBeOpenedIsLogged) {
    mountAt("read-only", "ro");
    mountAt("no-inode", "nr_inodes=1");
    fs::create_directories(inPlace("directory"));
    EXPECT_EQ(0, mkfifo(inPlace("fifo").c_str(), 0666));
    const std::string longName(5000, 'x');
    for (const std::string& file :
         {inPlace("directory"), inPlace("fifo"), inPlace("read-only/file"),
          inPlace("read-only/new/file"), inPlace("no-inode/file"), inPlace("no-inode/new/file"),
          inPlace(longName), std::string()}) {
        for (Way way : kWays) {
            SCOPED_TRACE(kWriters[way] + (" into " + file.substr(0, 100)));
            // A trace waits for the reader of a FIFO.
            if (file != inPlace("fifo") || way != kTrace) {
                EXPECT_EQ(way != kTrace, write(way, file));
                EXPECT_THAT(takeErrors(), ElementsAre(StartsWith(kWriters[way])));
                std::error_code error;
                EXPECT_FALSE(fs::is_regular_file(file, error));
            }
        }
    }
}

TEST_F(FilesTest, FullFileSystemTakesWhatFits) {
    mountAt("full", "size=8k");
    const std::string file = inPlace("full/file"), other = inPlace("full/other");
    const std::string failure =
            "dumpTraces: Failed to dump backtrace for pid: " + std::to_string(sCrowd) +
            ", result 7";
    for (Way way : kWays) {
        for (off_t room : {off_t{0}, kPage}) {
            SCOPED_TRACE(kWriters[way] + (" with room for " + std::to_string(room)));
            unlink(file.c_str());
            writeFile(other, std::string(2 * kPage - room, 'x'));
            EXPECT_EQ(way != kTrace, write(way, file));
            EXPECT_EQ(room, static_cast<off_t>(fs::file_size(file)));
            // The missing lines of descriptors and of the report are logged by nobody.
            EXPECT_EQ(way == kTrace || way == kList ? Texts{failure} : Texts(), takeErrors());
        }
    }
    mountAt("full", "remount,size=1m");
    for (Way way : kWays) {
        unlink(file.c_str());
        EXPECT_TRUE(write(way, file));
        EXPECT_THAT(readFile(file), isWhole(way)) << kWriters[way];
    }
}

TEST_F(FilesTest, LinkIsFollowedExceptByCaptures) {
    const std::string link = inPlace("link"), target = inPlace("target");
    for (Way way : kWays) {
        SCOPED_TRACE(kWriters[way]);
        unlink(link.c_str());
        writeFile(target, "");
        fs::create_symlink(target, link);
        write(way, link);
        const std::string text = readFile(target);
        if (way == kTrace || way == kList) {
            EXPECT_EQ(way == kList ? "subject\n" : "", text);
            EXPECT_EQ(Texts{"dumpTraces: Can't open file: " + link}, takeErrors());
        } else {
            EXPECT_THAT(text, isWhole(way));
            EXPECT_EQ(Texts(), takeErrors());
        }
    }
}

// A trace's open waits for a reader, and nothing but a reader ends that.
TEST_F(FilesTest, TracesIntoAFifoThatNobodyReadsHoldOneThreadEach) {
    const std::string fifo = inPlace("held");
    EXPECT_EQ(0, mkfifo(fifo.c_str(), 0666));
    std::vector<std::future<bool>> held;
    for (int i = 0; i < 9; ++i) {
        held.push_back(std::async(std::launch::async, [&] { return write(kTrace, fifo); }));
    }
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 9; }));
    expectEverythingWorks(mDaemon);
    std::future<std::string> reader = std::async(std::launch::async, readFile, fifo);
    for (std::future<bool>& call : held) {
        EXPECT_TRUE(call.get());
    }
    EXPECT_THAT(reader.get(), isWhole(kTrace));
}

// The write fails. What was written is then forced to storage, for which the file is opened again,
// like a trace's.
TEST_F(FilesTest, ListingForAReaderThatLeftHoldsOneThread) {
    const std::string fifo = inPlace("left");
    EXPECT_EQ(0, mkfifo(fifo.c_str(), 0666));
    int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_LE(0, fcntl(reader, F_SETPIPE_SZ, kPage));
    std::future<bool> call = std::async(std::launch::async, [&] { return write(kFds, fifo); });
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("pipe_write") == 1; }));
    close(reader);
    EXPECT_TRUE(eventually([] { return daemonThreadsIn("wait_for_partner") == 1; }));
    expectEverythingWorks(mDaemon);
    close(open(fifo.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_TRUE(call.get());
}

TEST_F(FilesTest, FolderRemovedMeanwhileLosesTheRestOfTheList) {
    const std::string file = inPlace("removed/file");
    fs::create_directories(inPlace("removed"));
    EXPECT_TRUE(
            mDaemon->dumpTraceForPidListAsync(std::vector<int>(6, sCrowd), "subject", file).isOk());
    EXPECT_TRUE(eventually([&] { return readFile(file).size() > kPage; }));
    fs::remove_all(inPlace("removed"));
    EXPECT_TRUE(eventually(isDaemonIdle));
    EXPECT_THAT(takeErrors(), Contains("dumpTraces: Can't open file: " + file));
    EXPECT_FALSE(fs::exists(inPlace("removed")));
}

}  // namespace
}  // namespace android::test
