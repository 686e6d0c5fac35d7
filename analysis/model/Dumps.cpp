#include "analysis/model/Dumps.h"

namespace stallscope {

void nameByDumps(Snapshot* snapshot) {
    for (const ThreadDump& dump : snapshot->dumps) {
        NameOrigin origin = dump.isOfLogsMoment ? NameOrigin::kDump : NameOrigin::kOldDump;
        snapshot->names.setProcess(dump.pid, dump.cmdLine, origin);
        for (const DumpThread& each : dump.threads) {
            if (each.sysTid > 0) {
                snapshot->names.setThread({dump.pid, each.sysTid}, each.name, origin);
            }
        }
    }
}

void shiftPlaces(uint32_t shift, ThreadDump* dump) {
    dump->place.source += shift;
    for (DumpThread& thread : dump->threads) {
        thread.place.source += shift;
        if (thread.waitsToLock) {
            thread.waitsToLock->place.source += shift;
        }
        for (std::vector<LockLine>* lines : {&thread.locked, &thread.waitsOn, &thread.owns}) {
            for (LockLine& each : *lines) {
                each.place.source += shift;
            }
        }
        for (StackFrame& each : thread.frames) {
            each.place.source += shift;
        }
    }
}

}  // namespace stallscope
