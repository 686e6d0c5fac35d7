// What stallscope-analyze says of each staged hang: of the running system, and of the log saved
// from it.

#include <json/json.h>

#include <algorithm>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

using testing::HasSubstr;

constexpr char kSavedLog[] = "/tmp/saved-log";
constexpr char kDumps[] = "/tmp/dumps-of-the-log";

struct Shape {
    const char* name;
    Texts captured;  // whose stacks are needed
    Texts answer;    // in alphabetical order
};

const Shape kShapes[] = {
        {"chain", {}, {"$HARDWARE holds up 2 threads in 2 processes"}},
        {"exhausted",
         {},
         {"$MEDIA holds up 2 threads in 2 processes", "$MEDIA holds up 2 threads in 2 processes",
          "$MEDIA has no thread for 1"}},
        {"pools",
         {},
         {"$AUDIO has no thread for 1", "$CAMERA has no thread for 1",
          "pool deadlock of $CAMERA $AUDIO holds up 2 threads in 2 processes"}},
        {"callback", {}, {"$APP holds up 1 threads in 1 processes"}},
        {"oneway",
         {},
         {"$HARDWARE holds up 1 threads in 1 processes", "$MEDIA has 3 one-way calls queued"}},
        {"shell-command", {}, {}},
        {"lock-call",
         {"$GALLERY", "$PROVIDER"},
         {"mixed deadlock of $GALLERY $PROVIDER $PROVIDER $GALLERY holds up 2 threads in 1 "
          "processes"}}};

std::string blockedBy(const Json::Value& end) {
    return " holds up " + end["blockedThreads"].asString() + " threads in " +
           end["blockedProcesses"].asString() + " processes";
}

// The statements of an answer, without what differs from one moment to the next.
Texts statementsOf(const std::string& json) {
    Json::Value answer;
    if (!Json::Reader().parse(json, answer)) {
        return {"no JSON: " + json};
    }
    Texts statements;
    for (const Json::Value& each : answer["cycles"]) {
        std::string text = each["kind"].asString() + " deadlock of";
        for (const Json::Value& member : each["members"]) {
            text += " " + member["pid"].asString();
        }
        statements.push_back(text + blockedBy(each));
    }
    for (const Json::Value& each : answer["rootBlockers"]) {
        statements.push_back(each["pid"].asString() + blockedBy(each));
    }
    for (const Json::Value& each : answer["exhaustedPools"]) {
        statements.push_back(each["pid"].asString() + " has no thread for " +
                             each["queued"].asString());
    }
    for (const Json::Value& each : answer["onewayBacklogs"]) {
        statements.push_back(each["pid"].asString() + " has " + each["queued"].asString() +
                             " one-way calls queued");
    }
    std::sort(statements.begin(), statements.end());
    return statements;
}

std::string analysis(const std::string& arguments) {
    return outputOf(ANALYSIS_BIN "/stallscope-analyze " + arguments + " 2>&1");
}

// By way of the client, which hands over to the analysis.
std::string liveAnalysis(const std::string& arguments) {
    return outputOf("PATH=" ANALYSIS_BIN ":$PATH " STALLSCOPECTL " analyze " + arguments + " 2>&1");
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

using AnalysisTest = GuestTest;

TEST_F(AnalysisTest, EveryShapeIsRecognisedLiveAndFromItsSavedLog) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.name);
        const StagedHang hang(shape.name);
        for (const std::string& each : hang.texts(shape.captured)) {
            EXPECT_EQ("true", ask({"dumpTraceForPidWithTimeout", each, "20", kDumps}).result);
        }
        std::string options = "--json --threshold 0";
        options += shape.captured.empty() ? "" : std::string(" --dumps ") + kDumps;
        Texts expected = hang.texts(shape.answer);
        std::sort(expected.begin(), expected.end());
        writeFile(kSavedLog, readFile(kKernelLog));
        EXPECT_EQ(expected, statementsOf(analysis(options + " --live")));
        EXPECT_EQ(expected, statementsOf(analysis(options + " " + kSavedLog)));
    }
}

// One look can't tell a thread that always serves another call from one that is stuck, and two
// can't when a call of the first is still waiting for its turn at the second.
TEST_F(AnalysisTest, SecondLookTellsBusyFromStuck) {
    const StagedHang hang("busy");
    const std::string laterLog = std::string(kSavedLog) + "-later";
    writeFile(kSavedLog, readFile(kKernelLog));
    EXPECT_THAT(firstLine(liveAnalysis("")), HasSubstr(hang.text("/mediaserver ($MEDIA), ")));
    EXPECT_THAT(firstLine(liveAnalysis("--interval 3")), HasSubstr(", is busy, not stuck "));
    writeFile(laterLog, readFile(kKernelLog));
    EXPECT_THAT(firstLine(analysis(kSavedLog)), HasSubstr(", holds up "));
    EXPECT_THAT(firstLine(analysis("--second " + laterLog + " " + kSavedLog)),
                HasSubstr(", is busy, not stuck "));
}

}  // namespace
}  // namespace android::test
