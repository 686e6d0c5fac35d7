#ifndef STALLSCOPE_HOST_DEBUGGERD_DUMPFILE_H
#define STALLSCOPE_HOST_DEBUGGERD_DUMPFILE_H

#include <sys/types.h>

#include <string>
#include <string_view>

#include "host/debuggerd/Deadline.h"

namespace debuggerd {

// Collects the text of one dump and writes it to a descriptor, which it doesn't own.
class DumpFile {
  public:
    DumpFile(int fd, const Deadline& deadline) : mFd(fd), mDeadline(deadline) {}

    // The lines the debugger daemon puts around the dump of a process.
    void begin(pid_t pid, const char* abi);
    void end(pid_t pid);

    void append(std::string_view text);
    // Writes what was appended; false once any write has failed.
    bool flush();

  private:
    bool writeAll(std::string_view text);

    int mFd;
    Deadline mDeadline;
    std::string mText;
    bool mFailed = false;
};

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_DUMPFILE_H
