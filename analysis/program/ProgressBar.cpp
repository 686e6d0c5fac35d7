#include "analysis/program/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace stallscope {

namespace {

// What is over before a person could read it is never shown.
constexpr auto kPause = std::chrono::milliseconds(200);
constexpr uint64_t kColumns = 30;

}  // namespace

ProgressBar::ProgressBar(uint64_t total, std::string unit)
      : mTotal(total), mUnit(std::move(unit)), mIsShown(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
    hide();
}

void ProgressBar::add(uint64_t amount) {
    std::lock_guard<std::mutex> guard(mLock);
    mDone += amount;
    auto now = std::chrono::steady_clock::now();
    if (mIsShown && now - mLast >= kPause) {
        mLast = now;
        draw();
    }
}

void ProgressBar::hide() {
    std::lock_guard<std::mutex> guard(mLock);
    if (mIsDrawn) {
        fputs("\r\x1b[K", stderr);
        mIsDrawn = false;
    }
}

void ProgressBar::draw() {
    mIsDrawn = true;
    if (mTotal == 0) {
        fprintf(stderr, "\r%llu %s\x1b[K", static_cast<unsigned long long>(mDone), mUnit.c_str());
        return;
    }
    uint64_t done = std::min(mDone, mTotal);
    std::string bar(kColumns, '.');
    std::fill_n(bar.begin(), kColumns * done / mTotal, '#');
    fprintf(stderr, "\r[%s] %llu of %llu %s\x1b[K", bar.c_str(),
            static_cast<unsigned long long>(done), static_cast<unsigned long long>(mTotal),
            mUnit.c_str());
}

}  // namespace stallscope
