#ifndef STALLSCOPE_BINDERLOG_TRANSACTIONTYPES_H
#define STALLSCOPE_BINDERLOG_TRANSACTIONTYPES_H

namespace android {

// The types that the parser gives its records.
inline constexpr char kOutgoing[] = "outgoing";
inline constexpr char kIncoming[] = "incoming";
inline constexpr char kPendingAsync[] = "pending async";

}  // namespace android

#endif  // STALLSCOPE_BINDERLOG_TRANSACTIONTYPES_H
