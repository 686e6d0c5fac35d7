// What can be wrong with the file that a caller names.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>

#include "diagnostics/LineWriter.h"
#include "service/StallScopeService.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/MethodCall.h"

namespace android::test {

namespace fs = std::filesystem;

using testing::Contains;
using testing::StartsWith;

class FilesTest : public FakeDevice {
  protected:
    static constexpr off_t kPage = 4096;

    FilesTest() {
        signal(SIGPIPE, SIG_IGN);  // as the daemon does
        addProcess(41, "-1000");
        std::string log = "proc 41\n";
        for (int i = 0; i < 100; ++i) {
            link("/proc/41/fd/" + std::to_string(i), std::string(60, 'x'));
            log += outgoing(41, 41, 41, 41, 1);
        }
        writeFile(kBinderLogPath, log);
        scriptCaptures([](int, DebuggerdDumpType, int fd) {
            return dprintf(fd, "%s\n", std::string(5000, 'x').c_str()) == 5001 ? 0 : 7;
        });
    }

    // The ways of writing a file, each more than a page of it, by the function that writes. A pid
    // list is dumped by the same function, synchronously or not.
    static std::map<std::string, Texts> waysTo(const std::string& file) {
        return {{"writeFdInfoToFile", {"catchFdInfo", file, "41"}},
                {"dumpTraces", {"dumpTraceForPidWithTimeout", "41", "5", file}},
                {"dumpTraceForAllProcess", {"dumpTraceForPidList", "41", "subject", file}},
                {"dumpTraceAndBinderInfo", {"dumpTraceWithBinderInfo", "41", "true", "", file}}};
    }

    Answer ask(const Texts& words) {
        takeEvents();
        Answer answer = callMethod(*mService, words);
        awaitWorkers();
        return answer;
    }

    // A file system in memory.
    static void mountAt(const std::string& name, const std::string& options, int flags = 0) {
        fs::create_directory(name);
        EXPECT_EQ(mount("tmpfs", name.c_str(), "tmpfs", flags, options.c_str()), 0);
    }

    const sp<StallScopeService> mService = new StallScopeService;
};

TEST_F(FilesTest, FileThatCannotBeOpenedIsLogged) {
    mountAt("read-only", "", MS_RDONLY);
    mountAt("no-inode", "nr_inodes=1");
    fs::create_directory("directory");
    EXPECT_EQ(mkfifo("fifo", 0666), 0);
    for (const std::string& name :
         {std::string("directory"), std::string("fifo"), std::string("read-only/file"),
          std::string("read-only/new/f"), std::string("no-inode/file"), std::string(5000, 'x')}) {
        for (const auto& [writer, call] : waysTo(mFolder / name)) {
            SCOPED_TRACE(writer + name.substr(0, 100));
            // A trace waits for the reader of a FIFO.
            if (name != "fifo" || writer != "dumpTraces") {
                EXPECT_EQ(ask(call).result, writer == "dumpTraces" ? "false" : "nothing");
                EXPECT_THAT(takeEvents("Ec"), Contains(StartsWith("E " + writer + ": ")));
                std::error_code error;
                EXPECT_FALSE(fs::is_regular_file(name, error));
            }
        }
    }
    umount("read-only");
    umount("no-inode");
}

TEST_F(FilesTest, FullFileSystemTakesWhatFits) {
    mountAt("full", "size=8k");
    for (off_t room : {off_t{0}, kPage}) {
        for (const auto& [writer, call] : waysTo(mFolder / "full/file")) {
            SCOPED_TRACE(writer + " with room for " + std::to_string(room));
            unlink("full/file");
            writeFile("full/other", std::string(2 * kPage - room, 'x'));
            EXPECT_EQ(ask(call).result, writer == "dumpTraces" ? "false" : "nothing");
            EXPECT_EQ(static_cast<off_t>(fs::file_size("full/file")), room);
        }
    }
    umount("full");
}

TEST_F(FilesTest, NothingIsWrittenBehindAGap) {
    EXPECT_EQ(mkfifo("fifo", 0666), 0);
    int reader = open("fifo", O_RDONLY | O_NONBLOCK);
    LineWriter writer("fifo", LineWriter::Mode::Append);
    writer.writeLine("before");
    close(reader);
    writer.writeLine("lost");
    reader = open("fifo", O_RDONLY | O_NONBLOCK);
    writer.writeLine("behind");
    char text[100] = {};
    EXPECT_LT(0, ::read(reader, text, sizeof(text)));
    EXPECT_STREQ(text, "before\n");
    close(reader);
}

TEST_F(FilesTest, LinkIsFollowedExceptByCaptures) {
    link("link", "target");
    for (const auto& [writer, call] : waysTo(mFolder / "link")) {
        writeFile("target", "");
        ask(call);
        const Texts refusals = {"E dumpTraces: Can't open file: " + (mFolder / "link").string()};
        const bool isCapture = writer == "dumpTraces" || writer == "dumpTraceForAllProcess";
        EXPECT_EQ(read("target").size() > kPage, !isCapture) << writer;
        EXPECT_EQ(count(testing::PrintToString(takeLog()), refusals[0]), isCapture ? 1u : 0u);
    }
}

// A trace's open waits for a reader, and nothing but a reader ends that. Others don't wait for it.
// A listing whose reader leaves fails; what was written is then forced to storage, for which the
// file is opened again, like a trace's.
TEST_F(FilesTest, FifosHoldCapturesAndListingsUntilTheyHaveAReader) {
    EXPECT_EQ(mkfifo("fifo", 0666), 0);
    auto asked = std::async(std::launch::async, [this] {
        return callMethod(*mService, {"dumpTraceForPidWithTimeout", "41", "5", "fifo"}).result;
    });
    EXPECT_EQ(callMethod(*mService, {"getFdSize", "41"}).result, "102");
    usleep(50'000);
    EXPECT_EQ(takeEvents("c"), Texts());
    EXPECT_EQ(readFile("fifo").size(), 5001u);
    EXPECT_EQ(asked.get(), "true");

    const int reader = open("fifo", O_RDONLY | O_NONBLOCK);
    fcntl(reader, F_SETPIPE_SZ, kPage);
    asked = std::async(std::launch::async, [this] {
        return callMethod(*mService, {"catchFdInfo", "fifo", "41"}).result;
    });
    usleep(50'000);
    close(reader);
    EXPECT_EQ(asked.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    close(open("fifo", O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(asked.get(), "nothing");
    EXPECT_EQ(takeLog().back(), "E syncFile: Error syncing file");
}

// Of the test itself, whose folder is a real one; and of the longest link that there can be.
TEST_F(FilesTest, ListingHasEveryDescriptorWithItsWholeTarget) {
    link("/proc/42", std::string(kRealProc) + "/self");
    const int fd = open("a file", O_WRONLY | O_CREAT, 0666);
    const int entries = std::stoi(callMethod(*mService, {"getFdSize", "42"}).result);
    callMethod(*mService, {"catchFdInfo", "list", "42"});
    close(fd);
    const Texts listed = linesOf(readFile("list"));
    EXPECT_EQ(static_cast<int>(listed.size()) + 1, entries);
    EXPECT_THAT(listed, Contains("/proc/42/fd/" + std::to_string(fd) + " -> " +
                                 (mFolder / "a file").string()));
    link("/proc/43/fd/3", std::string(kPage - 1, 'x'));
    ask({"catchFdInfo", "list", "43"});
    EXPECT_EQ(readFile("list"), "/proc/43/fd/3 -> " + std::string(kPage - 1, 'x') + "\n");
}

TEST_F(FilesTest, FolderRemovedMeanwhileLosesTheRestOfTheList) {
    fs::create_directory("removed");
    scriptCaptures([](int, DebuggerdDumpType, int) {
        fs::remove_all("removed");
        return 0;
    });
    ask({"dumpTraceForPidList", "41,41", "subject", "removed/file"});
    EXPECT_THAT(takeLog(), Contains("E dumpTraces: Can't open file: removed/file"));
    EXPECT_FALSE(fs::exists("removed"));
}

}  // namespace android::test
