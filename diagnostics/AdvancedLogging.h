#ifndef STALLSCOPE_DIAGNOSTICS_ADVANCEDLOGGING_H
#define STALLSCOPE_DIAGNOSTICS_ADVANCEDLOGGING_H

// Everything that the daemon knows how to find out about a process, in one include.

#include "diagnostics/AsyncTransactionReport.h"
#include "diagnostics/BacktraceCapture.h"
#include "diagnostics/BinderInfoPrintout.h"
#include "diagnostics/BinderPeerChain.h"
#include "diagnostics/BlockedCallCheck.h"
#include "diagnostics/FdInspection.h"
#include "diagnostics/IncomingTransactionReport.h"
#include "diagnostics/OutgoingTransactionReport.h"
#include "diagnostics/PidListDump.h"
#include "diagnostics/ProcessAttributes.h"
#include "diagnostics/ProcessClassification.h"
#include "diagnostics/String16Conversion.h"
#include "diagnostics/TraceDumpJob.h"

#endif  // STALLSCOPE_DIAGNOSTICS_ADVANCEDLOGGING_H
