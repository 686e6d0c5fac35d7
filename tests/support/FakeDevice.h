#ifndef STALLSCOPE_TESTS_FAKEDEVICE_H
#define STALLSCOPE_TESTS_FAKEDEVICE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "binderlog/BinderLogParser.h"
#include "tests/support/LogCapture.h"

namespace android::test {

// Fixture: a device whose processes, binder log and files are what the test declares. Starts each
// test with no process, no log, an empty output folder and an empty captured log.
class FakeDevice : public testing::Test {
  protected:
    FakeDevice();
    ~FakeDevice() override;

    // A path in the test's own folder; an absolute one stays as it is.
    std::string path(const std::string& name) const { return mFolder / name; }
    // Writes a file and makes its folders.
    void write(const std::string& name, const std::string& content) const;
    void link(const std::string& name, const std::string& target) const;
    std::string read(const std::string& name) const;

    // Process 41 is "p41" with a thread "t41"; `adj` is the text of oom_score_adj.
    void addProcesses(std::initializer_list<int> pids, const std::string& adj) const;

    // The binder log as a parser; the test fails when it can't be parsed.
    BinderLogParser parse(const std::string& content) const;

  private:
    std::filesystem::path mFolder;
};

// A transaction of the binder log: its line in the new format, and the line of the reports when
// each process and thread but 0 was added as above.
struct Transaction {
    std::string type;
    int fromPid, fromTid, toPid, toTid, milliseconds;

    std::string logged() const;
    std::string reported() const;
};

// The log line of an outgoing transaction.
std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_FAKEDEVICE_H
