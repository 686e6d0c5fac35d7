#ifndef STALLSCOPE_DIAGNOSTICS_TRACEDUMPJOB_H
#define STALLSCOPE_DIAGNOSTICS_TRACEDUMPJOB_H

#include <utils/String16.h>

#include <vector>

namespace android {

// Appends to `file`, whose directory is created if missing: pid's binder report when
// withBinderInfo is set, then on a thread of its own the stacks of the peers that the report found
// and of every process whose command line is one of `names`. Last, all but the five newest regular
// files of the directory are removed. Returns when that thread is started; a directory that can't
// be created, or a binder report that can't be written, is logged and ends the job there. A
// directory that can't be examined or pruned ends the process.
void dumpTraceAndBinderInfo(int pid, bool withBinderInfo, const std::vector<String16>& names,
                            const String16& file);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_TRACEDUMPJOB_H
