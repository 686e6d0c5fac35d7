#include "analysis/input/Live.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/analysis/graph/LogText.h"
#include "tests/analysis/input/Describe.h"

namespace stallscope {
namespace {

namespace fs = std::filesystem;

class Live : public testing::Test {
  protected:
    Live() : mFolder(fs::temp_directory_path() / ("live" + std::to_string(getpid()))) {}
    ~Live() override { fs::remove_all(mFolder); }

    void write(const std::string& name, const std::string& text) {
        fs::create_directories((mFolder / name).parent_path());
        std::ofstream(mFolder / name, std::ios::binary) << text;
    }
    std::string read(Snapshot* snapshot) {
        return readLive({mFolder / "none", mFolder / "binder"}, mFolder / "proc", snapshot);
    }

    fs::path mFolder;
};

TEST_F(Live, ReadsTheLogAndTheNamesOfWhomItNames) {
    using namespace std::string_literals;
    write("binder/transactions",
          "binder transactions:\n" + proc(10) + thread(11) + out(1, "10:11", "20:21"));
    write("binder/proc/10", "not needed\n");
    write("proc/10/cmdline", "/system/bin/mediaserver\0--x\0"s);
    write("proc/10/task/11/comm", "Binder:10_1\n");
    write("proc/20/cmdline", "");  // a kernel's own thread
    write("proc/20/comm", "kworker\n");
    Snapshot snapshot;
    EXPECT_EQ("", read(&snapshot));
    EXPECT_EQ("log 10: 11 complete\nskipped 0\n", describe(snapshot));
    EXPECT_EQ("/system/bin/mediaserver", snapshot.names.ofProcess(10));
    EXPECT_EQ("Binder:10_1", snapshot.names.ofThread({10, 11}));
    EXPECT_EQ("kworker", snapshot.names.ofProcess(20));
    EXPECT_EQ("", snapshot.names.ofThread({20, 21}));
}

TEST_F(Live, ReadsTheProcessesFilesWhereTheLogIsSuspect) {
    std::string log = "binder transactions:\n" + proc(10) + thread(11);
    log.append(4096 - log.size() - 10, ' ').append("\n");
    write("binder/transactions", log);
    Snapshot snapshot;
    EXPECT_EQ("", read(&snapshot));
    EXPECT_EQ("log 10: 11 incomplete\nskipped 0\n", describe(snapshot))
            << "nothing better is there";

    write("binder/proc/9", "binder proc state:\n" + proc(9) + thread(9));
    write("binder/proc/10", "binder proc state:\n" + proc(10) + thread(11) +
                                    out(1, "10:11", "20:21") + proc(10, "hwbinder"));
    write("binder/proc/self", "");
    snapshot = {};
    EXPECT_EQ("", read(&snapshot));
    snapshot.notes.clear();
    EXPECT_EQ("log 10: 10: 9: 11 9 complete\nskipped 0\n", describe(snapshot));
    Place place = snapshot.log->frames.front().place;
    EXPECT_EQ(mFolder / "binder/proc/10", snapshot.sources[place.source]);
    EXPECT_EQ(5u, place.line);
    EXPECT_EQ(out(1, "10:11", "20:21"), std::string(snapshot.lineAt(place)) + "\n");
}

TEST_F(Live, SaysWhereItLooked) {
    Snapshot snapshot;
    std::string error = read(&snapshot);
    EXPECT_NE(std::string::npos, error.find("none/transactions nor ")) << error;
}

}  // namespace
}  // namespace stallscope
