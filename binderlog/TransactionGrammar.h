#ifndef STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H
#define STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H

#include <string>
#include <string_view>

#include "binderlog/BinderTransaction.h"

namespace android {

// The texts of a line as a record. Both expect a NUL behind the line, for the debug log. A number
// that does not fit its field ends the process.
BinderTransaction readNewFormatLine(std::string_view line, const std::string& type);
BinderTransaction readOldFormatLine(std::string_view line, const std::string& type);

// The pid of a section header; -1 when it names none. Ends the process when the pid does not fit.
int readSectionPid(std::string_view line);

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H
