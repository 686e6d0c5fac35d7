#ifndef STALLSCOPE_DIAGNOSTICS_REPORTLINE_H
#define STALLSCOPE_DIAGNOSTICS_REPORTLINE_H

#include <string>

#include "binderlog/BinderTransaction.h"

namespace android {

// Who stands at the two ends of a transaction.
struct PeerNames {
    std::string senderCmdline;
    std::string senderThread;
    std::string receiverCmdline;
    std::string receiverThread;
};

// Reads the four names from /proc, fresh, in the order of the fields.
PeerNames readPeerNames(const BinderTransaction& transaction);

// The long form: "outgoing transaction from 1200(com.app):1213(binder:1200_2) to ...", where
// `kind` is the text before " from ". No line end.
std::string namedLine(const char* kind, const BinderTransaction& transaction,
                      const PeerNames& names);

// The short form: "outgoing from 1200 : 1213 to ...", with the record's own type and no names.
std::string plainLine(const BinderTransaction& transaction);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_REPORTLINE_H
