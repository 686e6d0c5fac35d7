// Random parcels for the service, well-formed, damaged and made of anything.
// STALLSCOPE_FUZZ_CALLS and STALLSCOPE_FUZZ_SEED are the number of calls and where they begin.

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "tests/faults/FaultSupport.h"

namespace android::test {
namespace {

constexpr int kBatch = 50;

// The arguments of each method: i a process id or number, b a boolean, s a text, p a path, P one in
// a folder of its own, S a list of texts, I a list of numbers.
const char* const kSignatures[] = {"ibSP",  "iSSSSSSSS", "iiSSS", "iSSS", "is",  "iiSS",
                                   "isSSS", "i",         "pi",    "iip",  "Isp", "Isp"};

long environmentNumber(const char* name, long otherwise) {
    const char* text = getenv(name);
    return text == nullptr ? otherwise : atol(text);
}

class ParcelMaker {
  public:
    explicit ParcelMaker(unsigned seed) : mRandom(seed) {}

    // A number from 0 to `count` - 1.
    unsigned pick(unsigned count) { return mRandom() % count; }
    bool oneIn(unsigned count) { return pick(count) == 0; }

    // None that does not fit: a parse that sees such a code in the log ends the process.
    uint32_t code() {
        const uint32_t others[] = {0,
                                   13,
                                   0x00ffffff,
                                   0x7fffffff,
                                   IBinder::PING_TRANSACTION,
                                   IBinder::DUMP_TRANSACTION,
                                   IBinder::SHELL_COMMAND_TRANSACTION,
                                   IBinder::INTERFACE_TRANSACTION,
                                   IBinder::SYSPROPS_TRANSACTION};
        if (oneIn(10)) {
            return others[pick(std::size(others))];
        }
        // The last three capture, which takes its time.
        return 1 + pick(oneIn(5) ? 12 : 9);
    }

    void fill(uint32_t code, Parcel* parcel) {
        if (!oneIn(12)) {
            parcel->writeInterfaceToken(oneIn(12) ? text() : IStallscope::descriptor);
        }
        const bool isKnown = code >= 1 && code <= std::size(kSignatures);
        for (const char* type = kSignatures[isKnown ? code - 1 : pick(12)]; *type != '\0'; ++type) {
            if (oneIn(40)) {
                writeAnything(parcel);
            }
            write(*type, parcel);
        }
        if (oneIn(10)) {
            parcel->setDataSize(pick(static_cast<unsigned>(parcel->dataSize()) + 1) & ~3U);
        }
    }

  private:
    void write(char type, Parcel* parcel) {
        if (type == 'i' || type == 'b') {
            parcel->writeInt32(type == 'i' ? number() : static_cast<int32_t>(pick(2)));
        } else if (type == 's') {
            writeText(text(), parcel);
        } else if (type == 'p' || type == 'P') {
            writeText(oneIn(4) ? text() : folder(type == 'P') + text(), parcel);
        } else {
            const unsigned size = oneIn(30) ? pick(300) : pick(3);
            parcel->writeInt32(oneIn(30) ? lyingSize() : static_cast<int32_t>(size));
            for (unsigned i = 0; i < size; ++i) {
                write(type == 'S' ? 's' : 'i', parcel);
            }
        }
    }

    // No process that others need: a capture stops it for a moment.
    int32_t number() {
        const int32_t numbers[] = {0, -1, kNobody, INT32_MIN, INT32_MAX, getpid(), hang().app};
        return oneIn(8) ? -static_cast<int32_t>(mRandom()) : numbers[pick(std::size(numbers))];
    }

    // Two jobs that prune one folder at the same time end the process.
    String16 folder(bool isOwn) {
        return String16(("/tmp/fuzz/" + std::to_string(isOwn ? ++mFolders : 0) + "/").c_str());
    }

    // Without a slash: no path leads out of the test's folder.
    String16 text() {
        std::u16string text;
        for (unsigned i = oneIn(50) ? pick(5000) : pick(12); i > 0; --i) {
            char16_t unit = static_cast<char16_t>(oneIn(3) ? mRandom() : 'a' + pick(26));
            text += unit == '/' ? u'.' : unit;
        }
        return String16(text.data(), text.size());
    }

    void writeText(const String16& text, Parcel* parcel) {
        if (!oneIn(40)) {
            parcel->writeString16(text);
            return;
        }
        parcel->writeInt32(oneIn(2) ? lyingSize() : static_cast<int32_t>(mRandom()));
        parcel->write(text.string(), text.size() * sizeof(char16_t));
    }

    // libbinder makes room for as many elements as a list announces; more than memory holds end the
    // process, which is a test of its own.
    int32_t lyingSize() { return oneIn(2) ? -1 - static_cast<int32_t>(pick(5)) : pick(65536); }

    void writeAnything(Parcel* parcel) {
        if (oneIn(3)) {
            parcel->writeDupFileDescriptor(STDIN_FILENO);
        } else if (oneIn(2)) {
            parcel->writeStrongBinder(new BBinder);
        }
        for (unsigned i = pick(20); i > 0; --i) {
            parcel->writeInt32(static_cast<int32_t>(pick(65536)) - (oneIn(4) ? 65536 : 0));
        }
    }

    std::mt19937 mRandom;
    int mFolders = 0;
};

TEST(StubFuzzTest, ParcelsOfAnyKindAreSurvived) {
    const auto calls = environmentNumber("STALLSCOPE_FUZZ_CALLS", 2000);
    const auto seed = static_cast<unsigned>(environmentNumber("STALLSCOPE_FUZZ_SEED", 1));
    std::filesystem::create_directories("/tmp/fuzz/0");
    hang();
    sp<IStallscope> daemon = stallscope();
    sp<IBinder> binder = IInterface::asBinder(daemon);
    expectEverythingWorks(daemon);
    const pid_t pid = daemonPid();
    const size_t fds = countFds(pid);
    std::map<status_t, long> results;
    ParcelMaker maker(seed);
    for (long i = 1; i <= calls; ++i) {
        Parcel data, reply;
        const uint32_t code = maker.code();
        maker.fill(code, &data);
        status_t result =
                binder->transact(code, data, &reply, maker.oneIn(10) ? IBinder::FLAG_ONEWAY : 0);
        ++results[result];
        int size = 0;
        ASSERT_NE(DEAD_OBJECT, result)
                << "seed " << seed << ", call " << i << ", code " << code << "\n"
                << outputOfTheDaemon();
        if (i % kBatch == 0) {
            ASSERT_TRUE(daemon->getFdSize(hang().app, &size).isOk())
                    << "seed " << seed << ", call " << i;
        }
    }
    for (const auto& [result, count] : results) {
        printf("%ld parcels: %s\n", count, statusToString(result).c_str());
    }
    EXPECT_LT(calls / 4, results[OK]) << "too few parcels reach a method";
    EXPECT_TRUE(eventually(isDaemonIdle, 60));
    expectEverythingWorks(daemon);
    EXPECT_EQ(pid, daemonPid());
    EXPECT_EQ(std::vector<int>(), exitsOfTheDaemon());
    EXPECT_EQ(fds, countFds(pid));
}

// Four bytes of a caller's: this libbinder has no other bound than memory.
TEST(StubFuzzTest, ListLongerThanMemoryEndsTheDaemon) {
    if (kIsSanitized) {
        GTEST_SKIP() << "the sanitizer reports the allocation";
    }
    sp<IStallscope> daemon = stallscope();
    const size_t exits = exitsOfTheDaemon().size();
    Parcel data, reply;
    data.writeInterfaceToken(IStallscope::descriptor);
    data.writeInt32(1);
    data.writeInt32(INT32_MAX);
    EXPECT_EQ(DEAD_OBJECT, IInterface::asBinder(daemon)->transact(4, data, &reply));
    EXPECT_TRUE(eventually([&] { return exitsOfTheDaemon().size() > exits; }));
    EXPECT_EQ(128 + SIGABRT, exitsOfTheDaemon().back());
    EXPECT_NE(std::string::npos, outputOfTheDaemon().find("std::bad_alloc"));
    expectEverythingWorks(stallscope());
}

}  // namespace
}  // namespace android::test
