#ifndef STALLSCOPE_TESTS_ANALYSIS_GRAPH_LOGTEXT_H
#define STALLSCOPE_TESTS_ANALYSIS_GRAPH_LOGTEXT_H

#include <string>

namespace stallscope {

// Logs in one expression: proc(10) + thread(11) + out(1, "10:11", "20:0", 3000) + ...
// A time of -1 is not printed, as before 6.5.

inline std::string proc(int pid, const std::string& context = "binder") {
    return "proc " + std::to_string(pid) + "\n" +
           (context.empty() ? "" : "context " + context + "\n");
}

inline std::string thread(int tid, const std::string& looper = "12") {
    return "  thread " + std::to_string(tid) + ": l " + looper + " need_return 0 tr 0\n";
}

inline std::string call(const std::string& kind, int id, const std::string& from,
                        const std::string& to, int ms, const std::string& what) {
    return "    " + kind + " transaction " + std::to_string(id) + ": 00000000a7cbb32f from " +
           from + " to " + to + " " + what + " pri 0 r1" +
           (ms < 0 ? "" : " elapsed " + std::to_string(ms) + "ms");
}

inline std::string out(int id, const std::string& from, const std::string& to, int ms = 2000,
                       const std::string& what = "code 3 flags 10") {
    return call("outgoing", id, from, to, ms, what) + "\n";
}

inline std::string in(int id, const std::string& from, const std::string& to, int ms = 2000) {
    return call("incoming", id, from, to, ms, "code 3 flags 10") + " node 7 size 0:0 offset 8\n";
}

inline std::string pending(int id, const std::string& from, const std::string& to, int ms = 2000,
                           const std::string& what = "code 3 flags 10",
                           const std::string& kind = "pending") {
    return call(kind, id, from, to, ms, what) + " node 7 size 0:0 offset 8\n";
}

}  // namespace stallscope

#endif  // STALLSCOPE_TESTS_ANALYSIS_GRAPH_LOGTEXT_H
