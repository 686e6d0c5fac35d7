#include "analysis/model/Dumps.h"

namespace stallscope {

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
