#ifndef STALLSCOPE_HOST_DEBUGGERD_DEADLINE_H
#define STALLSCOPE_HOST_DEBUGGERD_DEADLINE_H

#include <algorithm>
#include <chrono>
#include <climits>

namespace debuggerd {

// One point in time for all steps of a capture. It can be handed to another process as a number,
// since the monotonic clock is the same for all.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(Clock::time_point end) : mEnd(end) {}
    static Deadline after(Clock::duration time) { return Deadline(Clock::now() + time); }
    static Deadline fromNanoseconds(long long ns) {
        return Deadline(Clock::time_point(std::chrono::nanoseconds(ns)));
    }

    long long nanoseconds() const {
        return std::chrono::nanoseconds(mEnd.time_since_epoch()).count();
    }
    bool expired() const { return Clock::now() >= mEnd; }
    Deadline earlierBy(Clock::duration time) const { return Deadline(mEnd - time); }
    Deadline butAtMost(Clock::duration time) const {
        return Deadline(std::min(mEnd, Clock::now() + time));
    }

    // What is left, rounded up, as poll() wants it; 0 when expired.
    int pollTimeout() const {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(mEnd - Clock::now()).count();
        return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
    }

  private:
    Clock::time_point mEnd;
};

}  // namespace debuggerd

#endif  // STALLSCOPE_HOST_DEBUGGERD_DEADLINE_H
