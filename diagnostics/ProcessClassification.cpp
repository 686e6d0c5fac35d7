#include "diagnostics/ProcessClassification.h"

namespace android {

ProcessType classifyOomAdj(int adj) {
    if (adj == kOomAdjNative) {
        return ProcessType::Native;
    }
    if (adj == kOomAdjShell) {
        return ProcessType::Shell;
    }
    if (adj < kOomAdjSystem || adj > kOomAdjMax) {
        return ProcessType::Unknown;
    }
    return ProcessType::Java;
}

}  // namespace android
