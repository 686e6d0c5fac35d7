// The graph in Graphviz's language and as a picture. The page has a browser for its test.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "analysis/graph/Analysis.h"
#include "analysis/input/Input.h"
#include "analysis/output/CleanText.h"
#include "analysis/output/Output.h"
#include "analysis/output/Selection.h"
#include "tests/analysis/graph/LogText.h"

namespace stallscope {
namespace {

struct Views {
    explicit Views(const std::string& log, const std::string& name = "") {
        EXPECT_EQ("", readText(log, &snapshot));
        snapshot.names.setProcess(20, name, NameOrigin::kGiven);
        findings = analyze(snapshot);
    }
    std::string dot() const { return writeDot(snapshot, findings); }

    Snapshot snapshot;
    Findings findings;
};

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

// Two pools of two threads that wait for each other, and one thread that waits for one of them.
const std::string kPools = proc(10) + thread(10) + out(1, "10:10", "20:0") + thread(11) +
                           out(2, "10:11", "20:0") + proc(20) + thread(20) +
                           out(3, "20:20", "10:0") + thread(21) + out(4, "20:21", "10:0") +
                           proc(30) + thread(30) + out(5, "30:30", "20:21");

// That many threads in front of a pool of one, and a hang of two elsewhere.
std::string crowd(int waiters) {
    std::string log = proc(20) + thread(21) + in(1, "10:10", "20:21") + proc(30) + thread(30) +
                      out(2, "30:30", "31:31") + proc(31) + thread(31) + in(2, "30:30", "31:31") +
                      proc(10);
    for (int i = 0; i < waiters; ++i) {
        log += thread(100 + i, "10") + out(1000 + i, "10:" + std::to_string(100 + i), "20:0");
    }
    return log;
}

TEST(Dot, TellsEndsAndEdgesApartByShapeAndLine) {
    std::string dot = Views(kPools).dot();
    EXPECT_EQ(4u, count(dot, "shape=octagon"));
    EXPECT_EQ(2u, count(dot, "shape=hexagon")) << "a pool stands between n and m threads";
    EXPECT_EQ(8u, count(dot, "style=dashed"));
    EXPECT_EQ(1u, count(dot, "style=solid, arrowhead=normal, label=\"served 2.0 s\""));
    dot = Views(proc(10) + thread(10) + out(1, "10:10", "20:21") + proc(20) + thread(21) +
                in(1, "10:10", "20:21"))
                  .dot();
    EXPECT_EQ(1u, count(dot, "peripheries=2"));
    EXPECT_EQ(1u, count(dot, "blocker 1\\nthread 21\\nserving code 3 on node 7 for 2.0 s"));
}

TEST(Dot, LeavesOutWhatNobodyCouldReadAndSaysHowMuch) {
    Views views(crowd(3000));
    std::string dot = views.dot();
    EXPECT_EQ(1u, count(dot, "\"2703 more threads\""));
    EXPECT_EQ(2u, count(dot, "peripheries=2")) << "of each end something is shown";
    EXPECT_LT(count(dot, "\n"), 1000u);
    EXPECT_EQ(dot, views.dot());
    for (size_t most : {0, 1, 2, 50}) {
        EXPECT_EQ(most, selectThreads(views.findings, most).threads.size());
    }
}

TEST(Dot, NamesStayText) {
    std::string dot = Views(kPools, "\"];b[label=\\N&lt;\x1b\n\xff").dot();
    EXPECT_EQ(1u, count(dot, "label=\"\\\"];b[label=\\\\N&amp;lt;\xef\xbf\xbd \xef\xbf\xbd (20)"));
}

TEST(Svg, IsDrawnWhereGraphvizIs) {
    std::string error;
    Views views(kPools, "<script>&\"]");
    std::string svg = writeSvg(views.snapshot, views.findings, &error);
    if (svg.empty()) {
        GTEST_SKIP() << error;
    }
    EXPECT_EQ(1u, count(svg, "</svg>"));
    EXPECT_EQ(1u, count(svg, "&lt;script&gt;&amp;&quot;]")) << svg;
    EXPECT_EQ(0u, count(svg, "<script"));
}

TEST(Svg, SaysWhatToInstall) {
    std::string path = getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    std::string error;
    Views views(kPools);
    EXPECT_EQ("", writeSvg(views.snapshot, views.findings, &error));
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(1u, count(error, "install Graphviz")) << error;
}

TEST(CleanText, IsValidUtf8WithoutControls) {
    const std::string kWrong = "\xef\xbf\xbd";
    const std::pair<std::string, std::string> cases[] = {
            {"caf\xc3\xa9 \xf0\x9f\x98\x80", "caf\xc3\xa9 \xf0\x9f\x98\x80"},
            {"a\tb\r\nc", "a b  c"},
            {std::string("\0\x1b[31m", 6), kWrong + kWrong + "[31m"},
            {"\xc2\x9b", kWrong},                           // CSI as one character
            {"\xe2\x80\xae\xe2\x80\xa8", kWrong + kWrong},  // turns around, ends the line
            {"\xc0\x8a", kWrong + kWrong},                  // a line end, too long
            {"\xed\xa0\x80", kWrong + kWrong + kWrong},     // half of a pair
            {"\xf4\x90\x80\x80", kWrong + kWrong + kWrong + kWrong},
            {"\xe2\x82", kWrong + kWrong},
    };
    for (const auto& [text, clean] : cases) {
        EXPECT_EQ(clean, cleanText(text));
    }
    EXPECT_EQ("ab\xe2\x80\xa6", shortened("ab\xc3\xa9\xc3\xa9", 5));
    EXPECT_EQ("ab\xc3\xa9", shortened("ab\xc3\xa9", 4));
}

}  // namespace
}  // namespace stallscope
