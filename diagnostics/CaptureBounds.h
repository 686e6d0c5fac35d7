#ifndef STALLSCOPE_DIAGNOSTICS_CAPTUREBOUNDS_H
#define STALLSCOPE_DIAGNOSTICS_CAPTUREBOUNDS_H

#include <cstddef>

namespace android {

// What captures may take and what they leave, in one place: the client's help states them too.
inline constexpr int kPeerTimeoutSecs = 1;   // each binder peer of a dump job
inline constexpr int kNamedTimeoutSecs = 1;  // each named process of a dump job, all attempts
inline constexpr int kListTimeoutSecs = 20;  // all captures of a list together
inline constexpr size_t kKeptFiles = 5;      // a dump job prunes its folder to these

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_CAPTUREBOUNDS_H
