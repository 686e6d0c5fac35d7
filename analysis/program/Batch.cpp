#include "analysis/program/Batch.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

#include "analysis/program/ProgressBar.h"

namespace stallscope {

namespace {

// Hands out files to threads and prints their answers.
class Batch {
  public:
    explicit Batch(const Work& work)
          : mWork(work), mFiles(work.options.files), mBar(mFiles.size(), "files") {}

    int run() {
        size_t cores = std::max(1u, std::thread::hardware_concurrency());
        std::vector<std::thread> threads;
        for (size_t i = 1; i < std::min(cores, mFiles.size()); ++i) {
            threads.emplace_back([this] { workOn(); });
        }
        workOn();
        for (std::thread& each : threads) {
            each.join();
        }
        return mStatus;
    }

  private:
    // Answers that wait for an earlier one are kept; no more than these.
    static constexpr size_t kMostAhead = 64;

    void workOn() {
        size_t index = 0;
        while (take(&index)) {
            finish(index, answerSafely(mFiles[index]));
        }
    }

    bool take(size_t* index) {
        std::unique_lock<std::mutex> lock(mLock);
        mPrinted.wait(lock, [this] {
            return !mWork.options.ordered || mNext - mFirstWaiting < kMostAhead;
        });
        *index = mNext++;
        return *index < mFiles.size();
    }

    // One input's bad luck is not the others'.
    Answer answerSafely(const std::string& file) const {
        try {
            return answerFile(mWork, file, {});
        } catch (const std::exception& error) {
            return {{}, "Can't read " + file + ": " + error.what(), kInputError};
        }
    }

    void finish(size_t index, Answer answer) {
        std::lock_guard<std::mutex> guard(mLock);
        if (!mWork.options.ordered) {
            print(answer);
            return;
        }
        mAnswers.emplace(index, std::move(answer));
        for (auto each = mAnswers.begin(); each != mAnswers.end() && each->first == mFirstWaiting;
             ++mFirstWaiting) {
            print(each->second);
            each = mAnswers.erase(each);
        }
        mPrinted.notify_all();
    }

    void print(const Answer& answer) {
        mBar.hide();
        if (mWork.options.form == OutputForm::kText && mHasPrinted && !answer.output.empty()) {
            putchar('\n');
        }
        mHasPrinted = mHasPrinted || !answer.output.empty();
        mStatus = std::max(mStatus, printAnswer(answer));
        mBar.add(1);
    }

    const Work& mWork;
    const std::vector<std::string>& mFiles;
    ProgressBar mBar;
    std::mutex mLock;
    std::condition_variable mPrinted;
    size_t mNext = 0;                   // the next file to work on
    size_t mFirstWaiting = 0;           // the next one to print
    std::map<size_t, Answer> mAnswers;  // that wait for it
    int mStatus = kNobodyStuck;
    bool mHasPrinted = false;
};

}  // namespace

int answerFiles(const Work& work) {
    if (work.options.files.size() > 1) {
        return Batch(work).run();
    }
    ProgressBar bar(0, "MB read");
    uint64_t bytes = 0;
    Answer answer = answerFile(work, work.options.files.front(), [&](uint64_t more) {
        uint64_t before = bytes >> 20;
        bytes += more;
        bar.add((bytes >> 20) - before);
    });
    bar.hide();
    return printAnswer(answer);
}

int printAnswer(const Answer& answer) {
    fwrite(answer.output.data(), 1, answer.output.size(), stdout);
    if (fflush(stdout) != 0) {
        fprintf(stderr, "stallscope-analyze: Can't write: %s\n", strerror(errno));
        return kInputError;
    }
    if (!answer.error.empty()) {
        fprintf(stderr, "stallscope-analyze: %s\n", answer.error.c_str());
    }
    return answer.status;
}

}  // namespace stallscope
