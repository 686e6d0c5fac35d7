#include "analysis/program/Work.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <thread>

#include "analysis/graph/Analysis.h"
#include "analysis/input/Live.h"
#include "analysis/input/NamesFile.h"
#include "analysis/model/Dumps.h"

namespace stallscope {

namespace {

// Adds another file's dumps to the snapshot, with the places in it.
void addDumps(const Snapshot& from, Snapshot* to) {
    auto shift = static_cast<uint32_t>(to->sources.size());
    to->sources.insert(to->sources.end(), from.sources.begin(), from.sources.end());
    for (KeptText text : from.texts) {
        text.source += shift;
        to->texts.push_back(std::move(text));
    }
    for (ThreadDump dump : from.dumps) {
        shiftPlaces(shift, &dump);
        to->dumps.push_back(std::move(dump));
    }
}

std::string writeFile(const std::string& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    return stream ? "" : "Can't write " + file + ": " + strerror(errno);
}

// An error, or an empty string.
std::string write(const Work& work, const Snapshot& snapshot, const Findings& findings,
                  const TextSink& sink) {
    std::string error;
    switch (work.options.form) {
        case OutputForm::kJson:
            writeJson(snapshot, findings, sink);
            break;
        case OutputForm::kDot:
            sink(writeDot(snapshot, findings));
            break;
        case OutputForm::kSvg:
            sink(writeSvg(snapshot, findings, &error));
            break;
        case OutputForm::kText:
            sink(writeText(snapshot, findings, work.text));
            break;
    }
    return error;
}

Answer answer(const Work& work, Snapshot* snapshot, const TextSink& sink) {
    for (const Snapshot& each : work.dumps) {
        addDumps(each, snapshot);
    }
    if (!work.dumps.empty()) {
        nameByDumps(snapshot);
    }
    snapshot->names.merge(work.names);
    AnalysisOptions options;
    options.thresholdMs = std::llround(work.options.thresholdSeconds * 1000);
    options.second = work.second;
    options.pid = work.options.pid;
    Findings findings = analyze(*snapshot, options);
    Answer answer;
    answer.status = findings.isAnybodyStuck() ? kSomebodyStuck : kNobodyStuck;
    answer.error = write(work, *snapshot, findings, sink);
    if (!work.options.htmlFile.empty()) {
        std::string failure = writeFile(work.options.htmlFile, writeHtml(*snapshot, findings));
        answer.error = failure.empty() ? answer.error : failure;
    }
    if (!answer.error.empty()) {
        answer.status = kInputError;
    }
    return answer;
}

}  // namespace

std::string prepare(Work* work, Snapshot* second) {
    const Options& options = work->options;
    if (!options.namesFile.empty()) {
        std::string error = readNamesFile(options.namesFile, &work->names);
        if (!error.empty()) {
            return error;
        }
    }
    for (const std::string& file : options.dumpFiles) {
        std::string error = readInput(file, {}, &work->dumps.emplace_back());
        if (!error.empty()) {
            return error;
        }
        if (work->dumps.back().dumps.empty()) {
            return file + " has no thread dumps: --dumps takes a file that does";
        }
    }
    if (!options.secondFile.empty()) {
        work->second = second;
        return readInput(options.secondFile, {}, second);
    }
    return {};
}

Answer answerFile(const Work& work, const std::string& file, const ReadProgress& progress,
                  const TextSink& sink) {
    Snapshot snapshot;
    std::string error = readInput(file, progress, &snapshot);
    return error.empty() ? answer(work, &snapshot, sink) : Answer{error, kInputError};
}

Answer answerLive(Work* work, const TextSink& sink) {
    Snapshot first;
    Snapshot second;
    std::string error = readLive(kBinderLogFolders, "/proc", &first);
    if (error.empty() && work->options.intervalSeconds > 0) {
        auto pause = std::chrono::duration<double>(work->options.intervalSeconds);
        std::this_thread::sleep_for(pause);
        error = readLive(kBinderLogFolders, "/proc", &second);
        work->second = &second;
    }
    return error.empty() ? answer(*work, &first, sink) : Answer{error, kInputError};
}

}  // namespace stallscope
