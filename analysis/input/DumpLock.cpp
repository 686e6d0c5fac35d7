#include "analysis/input/DumpLock.h"

#include "analysis/input/Tokens.h"

namespace stallscope {

namespace {

constexpr std::string_view kHeldBy = " held by ";
constexpr std::string_view kParking = "- parking to wait for ";
// A thread that parks on a condition waits to be told something, not for an owner.
constexpr std::string_view kCondition = "$ConditionObject";

struct Phrase {
    std::string_view text;
    LockRelation relation;
};

constexpr Phrase kPhrases[] = {
        {"- waiting to lock ", LockRelation::kWaitsToLock},
        {"- waiting for lock inflation of ", LockRelation::kWaitsToLock},
        {kParking, LockRelation::kWaitsToLock},
        {"- waiting to re-lock in wait() ", LockRelation::kRelocks},
        {"- waiting on ", LockRelation::kWaitsOn},
        {"- sleeping on ", LockRelation::kWaitsOn},
        {"- locked ", LockRelation::kLocked},
        {"- eliminated ", LockRelation::kIgnored},
        {"- None", LockRelation::kIgnored},
        {"- ", LockRelation::kOwns},
};

// Takes "<0x0abc>" off the front; false when no object is printed, as in "an unknown object" and
// "<no object reference available>".
bool takeObject(std::string_view* text, std::string_view* object) {
    *text = trim(*text);
    size_t end = text->find('>');
    if (text->empty() || text->front() != '<' || end == std::string_view::npos) {
        return false;
    }
    *object = text->substr(1, end - 1);
    text->remove_prefix(end + 1);
    return object->find(' ') == std::string_view::npos && !object->empty();
}

// Takes "(a java.lang.Class<java.lang.Object>)" off the front. A holder's name may have any
// characters in it, a type has no blank before "held by".
void takeType(std::string_view* text, std::string_view* type) {
    std::string_view rest = trim(*text);
    size_t end = rest.rfind(')', rest.find(kHeldBy));
    if (!beginsWith(rest, "(") || end == std::string_view::npos) {
        return;
    }
    *type = rest.substr(1, end - 1);
    *text = rest.substr(end + 1);
    takePrefix(type, "a ");
}

// ART's "thread 12"; Dalvik's "threadid=9 (Thread-10)", "tid=9 (Thread-10)" and "???"
void readHolder(std::string_view text, LockWait* lock) {
    Tokens tokens(text);
    std::string_view word = tokens.next();
    if (word == "thread") {
        readNumber(tokens.next(), &lock->holderDumpTid);
    } else {
        if (takePrefix(&word, "threadid=") || takePrefix(&word, "tid=")) {
            readNumber(word, &lock->holderDumpTid);
        }
    }
    std::string_view name = tokens.rest();
    if (name.size() > 2 && name.front() == '(' && name.back() == ')') {
        lock->holderName = name.substr(1, name.size() - 2);
    }
}

// What follows the phrase. False when it names no object.
bool readLock(std::string_view text, LockWait* lock) {
    bool hasObject = takeObject(&text, &lock->object);
    if (!hasObject) {
        lock->object = {};
    }
    takeType(&text, &lock->type);
    if (size_t holder = text.find(kHeldBy); holder != std::string_view::npos) {
        readHolder(text.substr(holder + kHeldBy.size()), lock);
    }
    return hasObject;
}

const Phrase* findPhrase(std::string_view line) {
    for (const Phrase& each : kPhrases) {
        if (beginsWith(line, each.text)) {
            return &each;
        }
    }
    return nullptr;
}

}  // namespace

// ART's Thread::DumpJavaStack():
//   - waiting to lock <0x0abcdef0> (a java.lang.Object) held by thread 12
//   - waiting to lock an unknown object
//   - locked <@addr=0x12c00000> (a java.lang.Class<android.os.Foo>)
// Dalvik's dumpFrames():
//   - waiting to lock <0x406a29f8> (a java.lang.Object) held by threadid=9 (Thread-10)
//   - waiting on <0x40a1> (a java.lang.VMThread) held by tid=9 (Thread-10)
// HotSpot's javaVFrame::print_lock_info_on():
//   - parking to wait for  <0x000000069ec197b8> (a
//   java.util.concurrent.locks.ReentrantLock$FairSync)
LockRelation readLockLine(std::string_view line, LockWait* lock) {
    const Phrase* phrase = findPhrase(line);
    if (phrase == nullptr) {
        return LockRelation::kNone;
    }
    bool hasObject = readLock(line.substr(phrase->text.size()), lock);
    if (phrase->text == kParking) {
        lock->isSynchronizer = true;
        std::string_view type = lock->type;
        return takeSuffix(&type, kCondition) ? LockRelation::kWaitsOn : phrase->relation;
    }
    bool isNothing = phrase->relation == LockRelation::kOwns && !hasObject;
    return isNothing ? LockRelation::kNone : phrase->relation;
}

}  // namespace stallscope
