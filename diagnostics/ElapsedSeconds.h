#ifndef STALLSCOPE_DIAGNOSTICS_ELAPSEDSECONDS_H
#define STALLSCOPE_DIAGNOSTICS_ELAPSEDSECONDS_H

#include <chrono>

namespace android {

// Whole seconds on the monotonic clock since its construction, the fraction dropped.
class ElapsedSeconds {
  public:
    int count() const {
        auto elapsed = std::chrono::steady_clock::now() - mStart;
        return static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(elapsed).count());
    }

    // What is left of a budget; 0 or less when it is used up.
    int leftOf(int budgetSecs) const { return budgetSecs > 0 ? budgetSecs - count() : 0; }

  private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_ELAPSEDSECONDS_H
