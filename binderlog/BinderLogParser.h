#ifndef STALLSCOPE_BINDERLOG_BINDERLOGPARSER_H
#define STALLSCOPE_BINDERLOG_BINDERLOGPARSER_H

#include <string>
#include <vector>

#include "binderlog/BinderTransaction.h"
#include "binderlog/KernelLogFormat.h"
#include "binderlog/SectionFiler.h"
#include "binderlog/TransactionTypes.h"

namespace android {

inline constexpr char kBinderLogPath[] = "/dev/binderfs/binder_logs/transactions";

// The kernel's binder transaction log, as lists of transactions by the process in whose section
// they stand. One parser serves one request on one thread.
class BinderLogParser {
  public:
    // Replaces what was parsed before by the contents of path. False, with a logged error, only
    // when path can't be opened; a read error counts as the end of the file. A number that does
    // not fit its field ends the process.
    bool parse(const std::string& path);

    // True when the log has a section for pid, also one without transactions.
    bool hasProcess(int pid) const;

    // pid's records in file order, or null when the log has no section for it. Valid until the
    // next parse.
    const std::vector<BinderTransaction>* getProcessTransactions(int pid) const;

    // Copies of pid's records of exactly this type, in file order.
    std::vector<BinderTransaction> getProcessTransactionsByType(int pid,
                                                                const std::string& type) const;

    // Reads one line of the new format or of the old one; see KernelLogFormat.h. A line that can't
    // be read gives a record with only its type.
    static BinderTransaction parseTransactionAbove6_1(const std::string& line,
                                                      const std::string& type);
    static BinderTransaction parseTransactionBelow6_1(const std::string& line,
                                                      const std::string& type);

    // The seconds of an old-format line; 0.0, with a logged error, for what is not a number.
    static double extractDuration(const std::string& text);

  private:
    BinderLogSections processTransactions;
};

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_BINDERLOGPARSER_H
