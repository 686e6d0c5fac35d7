#ifndef STALLSCOPE_TESTS_FAKEDEVICE_H
#define STALLSCOPE_TESTS_FAKEDEVICE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "binderlog/BinderLogParser.h"

namespace android::test {

// Fixture: a device whose processes, binder log and files are what the test declares. Starts each
// test with no process, no log, an empty output folder and an empty captured log.
class FakeDevice : public testing::Test {
  protected:
    FakeDevice();
    ~FakeDevice() override;

    // A process with one thread; `adj` is the text of oom_score_adj.
    void addProcess(int pid, const std::string& cmdline, const std::string& comm,
                    const std::string& adj);
    // Any file below /proc, with its folders.
    void addProcFile(const std::string& path, const std::string& content);
    void addProcLink(const std::string& path, const std::string& target);

    // The kernel's binder log.
    void setBinderLog(const std::string& content);

    // A path in the test's own folder.
    std::string path(const std::string& name) const { return mFolder / name; }
    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& content) const;
    std::vector<std::string> filesIn(const std::string& name) const;

    // The log as a parser; the test fails when it can't be parsed.
    BinderLogParser parse(const std::string& content);

  private:
    std::filesystem::path mFolder;
};

// An outgoing line of the new format.
std::string outgoing(int fromPid, int fromTid, int toPid, int toTid, int milliseconds,
                     const std::string& code = "3");

using Texts = std::vector<std::string>;

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_FAKEDEVICE_H
