#ifndef STALLSCOPE_ANALYSIS_INPUT_TRANSACTIONLINEREADER_H
#define STALLSCOPE_ANALYSIS_INPUT_TRANSACTIONLINEREADER_H

#include "analysis/input/Tokens.h"
#include "analysis/model/BinderLog.h"

namespace stallscope {

// Reads what stands behind the words "outgoing", "pending async" and so on, from "transaction" on.
// False when sender, receiver, code or flags are missing or damaged.
bool readTransactionLine(Tokens* tokens, bool isVendors, TransactionLine* line);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_INPUT_TRANSACTIONLINEREADER_H
