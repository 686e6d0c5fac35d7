#ifndef STALLSCOPE_ANALYSIS_PROGRAM_PROGRESSBAR_H
#define STALLSCOPE_ANALYSIS_PROGRAM_PROGRESSBAR_H

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace stallscope {

// One line on standard error that shows how far the work is, and nothing when that is no terminal.
// Gone when the work is done. May be told from several threads.
class ProgressBar {
  public:
    // unit: "files", "MB"; total 0: not known.
    ProgressBar(uint64_t total, std::string unit);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void add(uint64_t amount);
    // Takes the line away, so that something else can be printed; the next add brings it back.
    void hide();

  private:
    void draw();

    const uint64_t mTotal;
    const std::string mUnit;
    const bool mIsShown;
    std::mutex mLock;
    uint64_t mDone = 0;
    bool mIsDrawn = false;
    std::chrono::steady_clock::time_point mLast = std::chrono::steady_clock::now();
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_PROGRAM_PROGRESSBAR_H
