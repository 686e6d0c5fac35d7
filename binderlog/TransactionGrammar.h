#ifndef STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H
#define STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H

#include <string_view>

#include "binderlog/BinderTransaction.h"

namespace android {

// Fill a new record, all but its type, from a line; one that can't be read leaves it as it is. A
// number that does not fit its field ends the process.
void readNewFormatLine(std::string_view line, BinderTransaction* transaction);
void readOldFormatLine(std::string_view line, BinderTransaction* transaction);

// The pid of a section header; -1 when it names none. Ends the process when the pid does not fit.
int readSectionPid(std::string_view line);

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_TRANSACTIONGRAMMAR_H
