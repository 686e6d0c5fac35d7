#ifndef STALLSCOPE_DIAGNOSTICS_REPORTLINE_H
#define STALLSCOPE_DIAGNOSTICS_REPORTLINE_H

#include <string>

#include "binderlog/BinderTransaction.h"

namespace android {

// What the long form of a line has beside the numbers of the transaction.
struct CallTexts {
    std::string senderCmdline;
    std::string senderThread;
    std::string receiverCmdline;
    std::string receiverThread;
    std::string elapsed;  // seconds with six digits behind the point
};

// Reads the names at the two ends from /proc, fresh, in the order of the fields.
CallTexts readCallTexts(const BinderTransaction& transaction);

// The long form: "outgoing transaction from 1200(com.app):1213(binder:1200_2) to ...", where
// `kind` is the text before " from ". No line end.
std::string namedLine(const char* kind, const BinderTransaction& transaction,
                      const CallTexts& texts);

// The short form: "outgoing from 1200 : 1213 to ...", with the record's own type and no names.
std::string plainLine(const BinderTransaction& transaction);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_REPORTLINE_H
