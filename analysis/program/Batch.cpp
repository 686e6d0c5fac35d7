#include "analysis/program/Batch.h"

#include <malloc.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

#include "analysis/program/ProgressBar.h"

namespace stallscope {

namespace {

void print(std::string_view text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

// One file's memory serves the next one: giving it back to the kernel each time costs a sixth of
// the time, and lets threads wait for each other there.
void keepFreedMemory() {
#ifdef M_TRIM_THRESHOLD
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TOP_PAD, 4 << 20);
#endif
}

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

    struct Done {
        std::string output;
        Answer answer;
    };

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
    Done answerSafely(const std::string& file) const {
        try {
            Done done;
            done.answer = answerFile(mWork, file, {},
                                     [&done](std::string_view text) { done.output += text; });
            return done;
        } catch (const std::exception& error) {
            return {{}, {"Can't read " + file + ": " + error.what(), kInputError}};
        }
    }

    void finish(size_t index, Done done) {
        std::lock_guard<std::mutex> guard(mLock);
        if (!mWork.options.ordered) {
            tell(done);
            return;
        }
        mAhead.emplace(index, std::move(done));
        for (auto each = mAhead.begin(); each != mAhead.end() && each->first == mFirstWaiting;
             ++mFirstWaiting) {
            tell(each->second);
            each = mAhead.erase(each);
        }
        mPrinted.notify_all();
    }

    void tell(const Done& done) {
        mBar.hide();
        if (mWork.options.form == OutputForm::kText && mHasPrinted && !done.output.empty()) {
            putchar('\n');
        }
        mHasPrinted = mHasPrinted || !done.output.empty();
        print(done.output);
        mStatus = std::max(mStatus, finishAnswer(done.answer));
        mBar.add(1);
    }

    const Work& mWork;
    const std::vector<std::string>& mFiles;
    ProgressBar mBar;
    std::mutex mLock;
    std::condition_variable mPrinted;
    size_t mNext = 0;               // the next file to work on
    size_t mFirstWaiting = 0;       // the next one to print
    std::map<size_t, Done> mAhead;  // that wait for it
    int mStatus = kNobodyStuck;
    bool mHasPrinted = false;
};

}  // namespace

int answerFiles(const Work& work) {
    if (work.options.files.size() > 1) {
        keepFreedMemory();
        return Batch(work).run();
    }
    ProgressBar bar(0, "MB read");
    uint64_t bytes = 0;
    auto tellRead = [&](uint64_t more) {
        uint64_t before = bytes >> 20;
        bytes += more;
        bar.add((bytes >> 20) - before);
    };
    Answer answer =
            answerFile(work, work.options.files.front(), tellRead, [&bar](std::string_view text) {
                bar.hide();
                print(text);
            });
    bar.hide();
    return finishAnswer(answer);
}

int answerLiveSystem(Work* work) {
    return finishAnswer(answerLive(work, print));
}

int finishAnswer(const Answer& answer) {
    // What failed before the last piece shows in ferror() alone, and errno has been others' since.
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        fputs("stallscope-analyze: Can't write the whole answer: is there room where it goes?\n",
              stderr);
        return kInputError;
    }
    if (!answer.error.empty()) {
        fprintf(stderr, "stallscope-analyze: %s\n", answer.error.c_str());
    }
    return answer.status;
}

}  // namespace stallscope
