#include "analysis/input/DumpThreadLines.h"

#include <algorithm>

#include "analysis/input/NativeMutex.h"
#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kState = "java.lang.Thread.State: ";
constexpr std::string_view kOwned = "Locked ownable synchronizers:";
constexpr std::string_view kNative = "native: ";

bool isNativeFrame(std::string_view line) {
    return line.size() > 1 && line[0] == '#' && line[1] >= '0' && line[1] <= '9';
}

// What runtimes print of a thread besides, and the unwinder where it fails.
bool isKnown(std::string_view line) {
    constexpr std::string_view kBeginnings[] = {"(",
                                                "...",
                                                "native:",
                                                "kernel:",
                                                "NOTE: ",
                                                "No compile task",
                                                "Compiling:",
                                                "Carrying virtual thread #",
                                                "Unwind failed",
                                                "ABI: ",
                                                "Mounted virtual thread #"};
    return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                       [=](std::string_view each) { return beginsWith(line, each); });
}

}  // namespace

void DumpThreadLines::begin(DumpThread* thread) {
    *this = {};
    mThread = thread;
    thread->lastLine = thread->place.line;
}

LineVerdict DumpThreadLines::read(std::string_view line, Place place) {
    line = trim(line);
    if (line.empty()) {
        return LineVerdict::kIgnored;
    }
    if (mThread == nullptr) {
        return LineVerdict::kSkipped;
    }
    mThread->lastLine = place.line;
    if (beginsWith(line, "at ") || isNativeFrame(line)) {
        return readFrame(line, place);
    }
    if (std::string_view rest = line; takePrefix(&rest, kNative) && isNativeFrame(rest)) {
        return readFrame(rest, place);
    }
    if (beginsWith(line, "- ")) {
        return readLock(line, place);
    }
    return readAttributes(line);
}

LineVerdict DumpThreadLines::readFrame(std::string_view line, Place place) {
    mThread->frames.push_back({line, place});
    return LineVerdict::kRead;
}

// ART's and Dalvik's "| sysTid=1234 nice=-10 cgrp=default sched=0/0 handle=0x7a", HotSpot's
// "java.lang.Thread.State: BLOCKED (on object monitor)"
LineVerdict DumpThreadLines::readAttributes(std::string_view line) {
    if (line.front() == '|') {
        std::string_view first = Tokens(line.substr(1)).next();
        bool isTid = takePrefix(&first, "sysTid=") && readNumber(first, &mThread->sysTid);
        return isTid ? LineVerdict::kRead : LineVerdict::kIgnored;
    }
    if (takePrefix(&line, kState)) {
        mIsBlocked = beginsWith(line, "BLOCKED");
        return LineVerdict::kRead;
    }
    if (line == kOwned) {
        mListsOwned = true;
        return LineVerdict::kIgnored;
    }
    return isKnown(line) ? LineVerdict::kIgnored : LineVerdict::kSkipped;
}

LineVerdict DumpThreadLines::readLock(std::string_view line, Place place) {
    LockWait lock;
    lock.place = place;
    LockRelation relation = readLockLine(line, &lock);
    if (relation == LockRelation::kNone || (relation == LockRelation::kOwns && !mListsOwned)) {
        return LineVerdict::kSkipped;
    }
    if (relation == LockRelation::kIgnored) {
        return LineVerdict::kIgnored;
    }
    mBeginsWithWaitOn = mBeginsWithWaitOn || (!mHasLock && relation == LockRelation::kWaitsOn);
    mHasLock = true;
    if (relation == LockRelation::kWaitsToLock || relation == LockRelation::kRelocks) {
        mThread->waitsToLock = mThread->waitsToLock.value_or(lock);
    }
    // An object that the runtime can't name is no other thread's either.
    if (std::vector<LockLine>* list = listOf(relation); list != nullptr && !lock.object.empty()) {
        list->push_back(lock);
    }
    return LineVerdict::kRead;
}

std::vector<LockLine>* DumpThreadLines::listOf(LockRelation relation) const {
    switch (relation) {
        case LockRelation::kRelocks:
        case LockRelation::kWaitsOn:
            return &mThread->waitsOn;
        case LockRelation::kLocked:
            return &mThread->locked;
        case LockRelation::kOwns:
            return &mThread->owns;
        default:
            return nullptr;
    }
}

void DumpThreadLines::end(bool isHotSpot) {
    if (mThread == nullptr) {
        return;
    }
    // Up to JDK 9 a thread that was notified and waits to have the monitor back prints the same as
    // one that still waits to be notified, but for its state.
    if (isHotSpot && mIsBlocked && mBeginsWithWaitOn && !mThread->waitsToLock &&
        !mThread->waitsOn.empty()) {
        static_cast<LockLine&>(mThread->waitsToLock.emplace()) = mThread->waitsOn.front();
    }
    mThread->waitsForMutex = waitsForMutex(mThread->frames);
    mThread = nullptr;
}

}  // namespace stallscope
