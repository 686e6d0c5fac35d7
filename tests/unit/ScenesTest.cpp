// Plays tests/data/scenes.txt, whose head says how to read it: each scene is a test of its name.

#include <algorithm>
#include <cstring>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "service/StallScopeService.h"
#include "tests/support/FakeDevice.h"
#include "tests/support/MethodCall.h"

namespace android::test {

namespace {

// "" is an empty word.
Texts wordsOf(const std::string& line) {
    std::istringstream stream(line);
    Texts words;
    for (std::string word; stream >> word;) {
        words.push_back(word == "\"\"" ? "" : unescape(word));
    }
    return words;
}

// Leaves out what the parser traces, and, without the debug switch, all DEBUG lines and the files
// that are read between them.
Texts asLogged(Texts events) {
    auto isHidden = [](const std::string& event) {
        return event.rfind("D parse", 0) == 0 ||
               (!isDebugOn() && (event[0] == 'D' || event.rfind("reads ", 0) == 0));
    };
    events.erase(std::remove_if(events.begin(), events.end(), isHidden), events.end());
    return events;
}

std::string joined(const Texts& texts) {
    std::string text;
    for (const std::string& each : texts) {
        text += (text.empty() ? "" : " ") + each;
    }
    return text;
}

// "true, lines 2, java 20 30", without the lists that repeat what the lines say; or "nothing,
// captures java 41 for 5 s".
std::string summaryOf(const Answer& answer) {
    static const std::set<std::string> kTold = {"java", "native", "visited", "peer", "cmdline"};
    std::string summary = answer.result;
    for (const auto& [name, entries] : answer.lists) {
        if (name == "line") {
            summary += ", lines " + std::to_string(entries.size());
        } else if (!entries.empty() && kTold.count(name) > 0) {
            summary += ", " + name + " " + joined(entries);
        }
    }
    Texts captures = takeEvents("c");
    std::sort(captures.begin(), captures.end());  // processes come in any order
    return summary + (captures.empty() ? "" : ", ") + joined(captures);
}

}  // namespace

class Scene : public FakeDevice {
  public:
    explicit Scene(Texts script) : mScript(std::move(script)) {}

    void TestBody() override {
        for (auto line = mScript.begin(); line != mScript.end();) {
            SCOPED_TRACE(*line);
            const std::string& command = *line;
            Texts body;
            while (++line != mScript.end() && line->rfind("    ", 0) == 0) {
                body.push_back(unescape(line->substr(4)));
            }
            play(command, body);
        }
    }

  private:
    void play(const std::string& command, const Texts& body) {
        const size_t equals = command.find(" = ");
        const Texts words = wordsOf(command.substr(0, equals));
        const std::string& name = words[0];
        if (name == "process") {
            addProcess(std::stoi(words[1]), words[2], words.size() > 3 ? words[3] : "");
        } else if (name == "gone") {
            std::filesystem::remove_all("/proc/" + words[1]);
        } else if (name == "log") {
            writeLog(body);
        } else if (name == "file") {
            writeFile(words[1], words.size() > 2 ? words[2] : "");
        } else if (name == "link") {
            link(words[1], words[2]);
        } else if (name == "given") {
            mGiven[words[1]] = Texts(words.begin() + 2, words.end());
        } else if (name == "debuggerd") {
            setDebuggerd(words[1] == "java", std::stoi(words[2]), std::stoi(words[3]));
        } else if (name == "start") {
            const Texts events = start(words);
            EXPECT_EQ(equals == std::string::npos ? events : Texts(events.end() - 1, events.end()),
                      equals == std::string::npos ? body : Texts{command.substr(equals + 3)});
        } else if (name == "ends") {
            // Nothing catches exceptions; the test framework would.
            EXPECT_DEATH(runAsDaemon([&] { ask(Texts(words.begin() + 1, words.end())); }), body[0]);
        } else if (equals != std::string::npos) {
            EXPECT_EQ(summaryOf(ask(words)), unescape(command.substr(equals + 3)));
        } else {
            EXPECT_EQ(asLogged(reportOf(words)), asLogged(body));
        }
    }

    // "  outgoing 10:11 20:21 2500" is the kernel's line; others stand as they are.
    static void writeLog(const Texts& lines) {
        static const std::regex brief(" +([a-z ]+) (\\d+:\\d+) (\\d+:\\d+) (\\d+)");
        std::string log;
        for (const std::string& line : lines) {
            log += std::regex_replace(line, brief,
                                      "    $1 transaction 71: 0000000076280f16 from $2 to $3 "
                                      "code 3 flags 10 pri 0 r1 elapsed $4ms") +
                   "\n";
        }
        writeFile(kBinderLogPath, log);
    }

    // From now on such captures take so long, write the process and end with this result.
    void setDebuggerd(bool isJava, int result, int milliseconds) {
        advanceClock(std::chrono::milliseconds(0));
        mCaptures[isJava] = {result, std::chrono::milliseconds(milliseconds)};
        scriptCaptures([this](int pid, DebuggerdDumpType type, int fd) {
            const auto& [value, step] = mCaptures[type == kDebuggerdJavaBacktrace];
            writeCapture(pid, type, fd);
            advanceClock(step);
            return value;
        });
    }

    static Texts start(const Texts& words) {
        Texts events = linesOf(outputOf("ulimit -c 0; STALLSCOPE_TEST_RELEASE='" + words[1] +
                                        "' STALLSCOPE_TEST_DEBUG='" + words[2] + "' " +
                                        (words.size() > 3 ? words[3] : "") +
                                        " " UNIT_TESTS " start 2>/dev/null || echo ended"));
        // The two that look for the kernel's version come in any order.
        std::sort(events.begin(), std::find_if(events.begin(), events.end(), [](auto& each) {
                      return each.find(" operator(): ") == std::string::npos;
                  }));
        return events;
    }

    Answer ask(const Texts& words) {
        takeEvents();
        const Answer answer = callMethod(*mService, words, std::exchange(mGiven, {}));
        EXPECT_TRUE(answer.status.isOk());
        awaitWorkers();
        return answer;
    }

    // The answer, what happened meanwhile, and the file that was written.
    Texts reportOf(const Texts& words) {
        const Answer answer = ask(words);
        Texts report = {"returns " + answer.result};
        for (const auto& [name, entries] : answer.lists) {
            if (name == "line") {
                report.insert(report.end(), entries.begin(), entries.end());
            } else if (!entries.empty()) {
                report.push_back(name + " " + joined(entries));
            }
        }
        const Texts events = takeEvents();
        report.insert(report.end(), events.begin(), events.end());
        const bool isDump = words[0].rfind("dump", 0) == 0;
        if (isDump || words[0] == "catchFdInfo") {
            for (const std::string& line : linesOf(read(isDump ? words.back() : words[1]))) {
                report.push_back("| " + line);
            }
        }
        return report;
    }

    const Texts mScript;
    const sp<StallScopeService> mService = new StallScopeService;
    std::map<std::string, Texts> mGiven;
    std::pair<int, std::chrono::milliseconds> mCaptures[2];
};

// On a device nothing can be started under the tests' own /proc: its linker looks for
// /proc/self/exe.
bool isLeftOut(const Texts& script) {
    return strlen(UNIT_TESTS) == 0 && std::any_of(script.begin(), script.end(), [](auto& line) {
               return line.rfind("start ", 0) == 0;
           });
}

const bool sAreRegistered = [] {
    std::map<std::string, Texts> scenes;
    std::string name;
    for (const std::string& line : linesOf(readFile(testFile("data/scenes.txt")))) {
        if (line.rfind("== ", 0) == 0) {
            name = line.substr(3);
        } else if (!line.empty() && line[0] != '#') {
            scenes[name].push_back(line);
        }
    }
    for (const auto& [each, script] : scenes) {
        if (isLeftOut(script)) {
            continue;
        }
        testing::RegisterTest("Scenes", each.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                              [script = script]() -> FakeDevice* { return new Scene(script); });
    }
    return scenes.size() > 10 ? true : throw std::runtime_error("there are no scenes to play");
}();

}  // namespace android::test
