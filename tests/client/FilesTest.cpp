#include "client/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace android {
namespace {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
  protected:
    FilesTest() {
        fs::create_directory(mRoot + "/dir");
        fs::create_directory(mRoot + "/full");
        for (int i = 0; i < 6; i++) {
            write("full/" + std::to_string(i));
        }
        write("file");
        fs::create_symlink(mRoot + "/file", mRoot + "/link");
        fs::create_symlink(mRoot + "/dir", mRoot + "/dirlink");
        fs::create_symlink(mRoot + "/missing", mRoot + "/dangling");
        mkfifo((mRoot + "/fifo").c_str(), 0600);
    }
    ~FilesTest() override { fs::remove_all(mRoot); }

    void write(const std::string& name) { std::ofstream(mRoot + "/" + name) << "text"; }

    static std::string makeRoot() {
        char path[] = "/tmp/client_test.XXXXXX";
        return mkdtemp(path);
    }

    const std::string mRoot = makeRoot();
};

TEST_F(FilesTest, AnOutputFileIsJudgedByWhatTheDaemonWouldDoWithIt) {
    // What is named in the refusal: when replaced, when captured into, when its directory is
    // pruned as well. Empty stands for accepted.
    const struct {
        const char* path;
        const char* replace;
        const char* capture;
        const char* prune;
    } kCases[] = {
            {"file", "", "", ""},
            {"new", "", "", ""},
            {"dirlink/new", "", "", ""},
            {"link", "", "symbolic link", "symbolic link"},
            {"dangling", "", "symbolic link", "symbolic link"},
            {"dirlink", "directory", "symbolic link", "symbolic link"},
            {"dir", "is a directory", "is a directory", "is a directory"},
            {"dir/", "is a directory", "is a directory", "is a directory"},
            {"fifo", "regular", "regular", "regular"},
            {"missing/new", "mkdir -p", "mkdir -p", ""},
            {"missing/too/new", "mkdir -p", "mkdir -p", ""},
            {"file/new", "not a directory", "not a directory", "not a directory"},
            {"file/missing/new", "Not a directory", "Not a directory", "Not a directory"},
            {"full/new", "", "", "5 newest"},
    };
    for (const auto& c : kCases) {
        const char* const expected[] = {c.replace, c.capture, c.prune};
        const FileUse uses[] = {FileUse::kReplace, FileUse::kCapture, FileUse::kCaptureAndPrune};
        for (int i = 0; i < 3; i++) {
            const Result result = checkOutputFile(mRoot + "/" + c.path, uses[i]);
            EXPECT_EQ(*expected[i] != '\0', result.failed()) << c.path << i << result.error;
            EXPECT_NE(std::string::npos, result.error.find(expected[i])) << result.error;
        }
    }
}

TEST_F(FilesTest, FiveFilesAndADirectoryAreNotTooMany) {
    fs::remove(mRoot + "/full/0");
    fs::create_directory(mRoot + "/full/subdirectory");
    EXPECT_FALSE(checkOutputFile(mRoot + "/full/new", FileUse::kCaptureAndPrune).failed());
}

TEST_F(FilesTest, ARelativePathIsTakenFromTheCurrentDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(mRoot);
    std::string relative = "dir/new";
    EXPECT_FALSE(makeAbsolute(&relative).failed());
    fs::current_path(before);
    EXPECT_EQ(fs::canonical(mRoot).string() + "/dir/new", relative);
    std::string empty;
    EXPECT_EQ(kUsage, makeAbsolute(&empty).status);
}

TEST_F(FilesTest, RewritingWithTheSameTextIsSeen) {
    const std::string path = mRoot + "/file";
    const FileState before = FileState::of(path);
    EXPECT_EQ(before, FileState::of(path));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    write("file");
    EXPECT_NE(before, FileState::of(path));
    EXPECT_NE(before, FileState::of(mRoot + "/missing"));
}

TEST_F(FilesTest, AThreadIsNoProcess) {
    EXPECT_FALSE(checkProcess(getpid()).failed());
    EXPECT_EQ(kNoProcess, checkProcess(2147483647).status);
    Result ofThread;
    std::thread([&] { ofThread = checkProcess(gettid()); }).join();
    EXPECT_EQ(kNoProcess, ofThread.status);
    EXPECT_NE(std::string::npos, ofThread.error.find("of process " + std::to_string(getpid())));
}

}  // namespace
}  // namespace android
