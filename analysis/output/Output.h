#ifndef STALLSCOPE_ANALYSIS_OUTPUT_OUTPUT_H
#define STALLSCOPE_ANALYSIS_OUTPUT_OUTPUT_H

#include <functional>
#include <string>
#include <string_view>

#include "analysis/model/Findings.h"
#include "analysis/model/Snapshot.h"

namespace stallscope {

struct TextOptions {
    bool all = false;  // more than one screen
    bool hasColour = false;
    int width = 80;
    int height = 24;
};

// The answer in the first line, without its end.
std::string sentenceOf(const Snapshot& snapshot, const Findings& findings);

// The whole text, answer first.
std::string writeText(const Snapshot& snapshot, const Findings& findings,
                      const TextOptions& options);

// Takes what is written, a piece at a time.
using TextSink = std::function<void(std::string_view)>;

// One object on one line, with a line end.
void writeJson(const Snapshot& snapshot, const Findings& findings, const TextSink& sink);

// The graph in Graphviz's language.
std::string writeDot(const Snapshot& snapshot, const Findings& findings);

// The graph as a picture. An empty string, with *error set, when Graphviz is not there or fails.
std::string writeSvg(const Snapshot& snapshot, const Findings& findings, std::string* error);

// One self-contained page.
std::string writeHtml(const Snapshot& snapshot, const Findings& findings);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_OUTPUT_H
