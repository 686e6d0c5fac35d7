// Drawn by Graphviz's program, not its library: a layout can take for ever or break on a graph that
// a hostile log made, and a program can be ended.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>

#include "analysis/output/Output.h"

namespace stallscope {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kMostTime{60};
constexpr char kInstead[] = "; or take --html, which draws without it";

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

class FileActions {
  public:
    FileActions() { posix_spawn_file_actions_init(&mActions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&mActions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    posix_spawn_file_actions_t* get() { return &mActions; }

  private:
    posix_spawn_file_actions_t mActions;
};

// The text in a file of no folder: with two pipes each side could wait for the other.
File fileWith(const std::string& text) {
    File file(fdopen(memfd_create("graph", MFD_CLOEXEC), "w+"), fclose);
    if (file != nullptr && (fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
                            fflush(file.get()) != 0 || fseek(file.get(), 0, SEEK_SET) != 0)) {
        file.reset();
    }
    return file;
}

// Starts `dot -Tsvg`. 0, or what went wrong as an errno.
int startDot(int input, int output, pid_t* pid) {
    FileActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), output, STDOUT_FILENO);
    char program[] = "dot";
    char format[] = "-Tsvg";
    char* arguments[] = {program, format, nullptr};
    return posix_spawnp(pid, program, actions.get(), nullptr, arguments, environ);
}

// Reads up to the end. False when the time is over first.
bool readAll(int input, Clock::time_point deadline, std::string* text) {
    char buffer[1 << 16];
    for (;;) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd ready = {input, POLLIN, 0};
        if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0) {
            return false;
        }
        ssize_t length = read(input, buffer, sizeof(buffer));
        if (length == 0) {
            return true;
        }
        if (length > 0) {
            text->append(buffer, static_cast<size_t>(length));
        } else if (errno != EINTR) {
            return false;
        }
    }
}

bool endsWell(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string errorOfStart(int error) {
    if (error == ENOENT) {
        return std::string(
                       "the program dot is not there: install Graphviz (apt install graphviz)") +
               kInstead;
    }
    return std::string("can't start dot: ") + strerror(error) + kInstead;
}

}  // namespace

std::string writeSvg(const Snapshot& snapshot, const Findings& findings, std::string* error) {
    File input = fileWith(writeDot(snapshot, findings));
    if (input == nullptr) {
        *error = std::string("can't keep the graph in a file: ") + strerror(errno);
        return {};
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        *error = std::string("can't make a pipe: ") + strerror(errno);
        return {};
    }
    File output(fdopen(ends[0], "r"), fclose);
    pid_t pid = 0;
    int failure = startDot(fileno(input.get()), ends[1], &pid);
    close(ends[1]);
    if (failure != 0) {
        *error = errorOfStart(failure);
        return {};
    }
    std::string svg;
    bool isInTime = readAll(ends[0], Clock::now() + kMostTime, &svg);
    if (!isInTime) {
        kill(pid, SIGKILL);
    }
    bool isDrawn = endsWell(pid) && isInTime;
    if (!isDrawn) {
        *error = std::string(isInTime ? "dot failed" : "dot took more than 60 s") + kInstead;
        svg.clear();
    }
    return svg;
}

}  // namespace stallscope
