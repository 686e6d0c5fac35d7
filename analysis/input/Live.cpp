#include "analysis/input/Live.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "analysis/input/BinderLogReader.h"
#include "analysis/input/Bytes.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

namespace fs = std::filesystem;

// The text of a file of /proc; empty when the process is gone, which is normal.
std::string readSmallFile(const std::string& path) {
    Buffer buffer;
    return readWholeFile(path, &buffer).empty() ? std::string(buffer.text()) : std::string();
}

void nameProcess(const std::string& procFolder, int pid, Names* names) {
    std::string folder = procFolder + "/" + std::to_string(pid);
    std::string commandLine = readSmallFile(folder + "/cmdline");
    names->setProcess(pid, commandLine.c_str(), NameOrigin::kProcessList);  // up to its first NUL
    std::string comm = readSmallFile(folder + "/comm");
    names->setProcess(pid, comm.substr(0, comm.rfind('\n')), NameOrigin::kComm);
}

void nameThread(const std::string& procFolder, ThreadId id, Names* names) {
    std::string comm = readSmallFile(procFolder + "/" + std::to_string(id.pid) + "/task/" +
                                     std::to_string(id.tid) + "/comm");
    names->setThread(id, comm.substr(0, comm.rfind('\n')), NameOrigin::kComm);
}

// Everybody whom the log's lines name, each once.
void nameAll(const BinderLog& log, const std::string& procFolder, Names* names) {
    std::vector<ThreadId> ids;
    for (const BinderThread& each : log.threads) {
        ids.push_back(log.idOf(each));
    }
    for (const TransactionLine& each : log.frames) {
        ids.insert(ids.end(), {each.from, each.to});
    }
    for (const PendingCall& each : log.pending) {
        ids.insert(ids.end(), {each.call.from, each.call.to});
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    int named = 0;
    for (ThreadId each : ids) {
        if (each.pid > 0 && each.pid != named) {
            nameProcess(procFolder, each.pid, names);
            named = each.pid;
        }
        if (each.pid > 0 && each.tid > 0) {
            nameThread(procFolder, each, names);
        }
    }
}

// Files its text as one more source.
void keep(const std::string& path, std::shared_ptr<Buffer> buffer, Snapshot* snapshot) {
    auto source = static_cast<uint32_t>(snapshot->sources.size());
    snapshot->sources.push_back(path);
    TextPiece piece = {buffer->text(), source, 1};
    readBinderLog(piece, &*snapshot->log, &snapshot->lines);
    snapshot->texts.push_back({piece, std::move(buffer)});
}

// The pids of the files in `proc`, newest first, as the whole log has them.
std::vector<int> listProcesses(const std::string& folder) {
    std::vector<int> pids;
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator(folder, error)) {
        int pid = 0;
        if (readNumber(each.path().filename().string(), &pid)) {
            pids.push_back(pid);
        }
    }
    std::sort(pids.begin(), pids.end(), std::greater<>());
    return pids;
}

// False, with the snapshot as it was, when there are no such files.
bool readByProcess(const std::string& folder, Snapshot* snapshot) {
    Snapshot whole = *snapshot;
    whole.sources = {folder};
    whole.texts.clear();
    whole.lines = {};
    whole.log.emplace();
    bool hasAny = false;
    for (int pid : listProcesses(folder)) {
        std::string path = folder + "/" + std::to_string(pid);
        auto buffer = std::make_shared<Buffer>();
        if (readWholeFile(path, buffer.get()).empty()) {
            keep(path, std::move(buffer), &whole);
            hasAny = true;
        }
    }
    if (hasAny) {
        whole.notes.push_back(
                "The log's length is one at which the kernel drops the rest: the "
                "files in " +
                folder + " were read in its place.");
        *snapshot = std::move(whole);
    }
    return hasAny;
}

std::string nothingToRead(const std::vector<std::string>& folders) {
    std::string text = "Can't read the kernel's binder log: neither";
    for (const std::string& each : folders) {
        text += (each == folders.front() ? " " : " nor ") + each + "/transactions";
    }
    text += " can be opened. ";
    return text + (geteuid() == 0 ? "Mount binderfs or debugfs, or save the log on the device and "
                                    "name the file."
                                  : "Run this as root, or save the log on the device and name the "
                                    "file.");
}

}  // namespace

std::string readLive(const std::vector<std::string>& folders, const std::string& procFolder,
                     Snapshot* snapshot) {
    snapshot->file = "--live";
    snapshot->format = InputFormat::kLive;
    for (const std::string& folder : folders) {
        auto buffer = std::make_shared<Buffer>();
        std::string path = folder + "/transactions";
        if (!readWholeFile(path, buffer.get()).empty()) {
            continue;
        }
        snapshot->log.emplace();
        keep(path, std::move(buffer), snapshot);
        if (!snapshot->log->complete) {
            readByProcess(folder + "/proc", snapshot);
        }
        nameAll(*snapshot->log, procFolder, &snapshot->names);
        return {};
    }
    return nothingToRead(folders);
}

}  // namespace stallscope
