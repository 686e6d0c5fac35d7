#ifndef STALLSCOPE_ANALYSIS_MODEL_NAMES_H
#define STALLSCOPE_ANALYSIS_MODEL_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "analysis/model/ThreadId.h"

namespace stallscope {

// How far a name is trusted, worst first. A better one replaces a worse one, the first stays among
// equals.
enum class NameOrigin : uint8_t {
    kOldDump,      // a dump that is not of the log's moment: the pid may be another's now
    kComm,         // cut by the kernel at 15 bytes: a thread's name in a process list, `comm`
    kDump,         // a dump's `Cmd line:`, a thread's header
    kProcessList,  // a process's own row, /proc/PID/cmdline
    kGiven,        // --names FILE
};

// What processes and threads are called.
class Names {
  public:
    void setProcess(int pid, std::string_view name, NameOrigin origin) {
        set(&mNames[{pid, 0}], name, origin);
    }
    void setThread(ThreadId id, std::string_view name, NameOrigin origin) {
        set(&mNames[id], name, origin);
    }
    // Empty when it is not known. Valid as long as the names are not changed.
    std::string_view ofProcess(int pid) const { return find({pid, 0}); }
    std::string_view ofThread(ThreadId id) const {
        return id.isProcess() ? std::string_view() : find(id);
    }
    // Takes over every name that is better than its own.
    void merge(const Names& others) {
        for (const auto& [id, name] : others.mNames) {
            set(&mNames[id], name.text, name.origin);
        }
    }

  private:
    struct Name {
        std::string text;
        NameOrigin origin = NameOrigin::kOldDump;
    };

    static void set(Name* name, std::string_view text, NameOrigin origin) {
        if (!text.empty() && (name->text.empty() || origin > name->origin)) {
            *name = {std::string(text), origin};
        }
    }
    std::string_view find(ThreadId id) const {
        auto found = mNames.find(id);
        return found == mNames.end() ? std::string_view() : found->second.text;
    }

    std::unordered_map<ThreadId, Name, ThreadIdHash> mNames;  // tid 0: the process
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_NAMES_H
