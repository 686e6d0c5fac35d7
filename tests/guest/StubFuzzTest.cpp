// Random parcels for the service, well-formed, damaged and made of anything.
// STALLSCOPE_FUZZ_CALLS and STALLSCOPE_FUZZ_SEED are the number of calls and where they begin.

#include <binder/Binder.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "tests/guest/GuestSupport.h"

namespace android::test {
namespace {

// The arguments of each method: i a process id or number, b a boolean, s a text, p a path, P one in
// a folder of its own, S a list of texts, I a list of numbers.
const std::string kSignatures[] = {"ibSP",  "iSSSSSSSS", "iiSSS", "iSSS", "is",  "iiSS",
                                   "isSSS", "i",         "pi",    "iip",  "Isp", "Isp"};

class StubFuzzTest : public GuestTest {
  protected:
    // A number from 0 to `count` - 1.
    int pick(unsigned count) { return static_cast<int>(mRandom() % count); }
    bool oneIn(unsigned count) { return pick(count) == 0; }

    // The last three methods capture, which takes its time.
    uint32_t pickCode() {
        const uint32_t others[] = {0,
                                   13,
                                   0x7fffffff,
                                   IBinder::PING_TRANSACTION,
                                   IBinder::DUMP_TRANSACTION,
                                   IBinder::SYSPROPS_TRANSACTION};
        return oneIn(10) ? others[pick(std::size(others))] : 1 + pick(oneIn(5) ? 12 : 9);
    }

    int32_t pickNumber() {
        const int32_t numbers[] = {0, -1, kNobody, INT32_MIN, INT32_MAX, getpid()};
        return oneIn(8) ? -static_cast<int32_t>(mRandom()) : numbers[pick(std::size(numbers))];
    }

    // Without a slash: no path leads out of the test's folder.
    String16 pickText() {
        std::u16string text;
        for (int i = oneIn(50) ? pick(5000) : pick(12); i > 0; --i) {
            const char16_t unit = static_cast<char16_t>(oneIn(3) ? mRandom() : 'a' + pick(26));
            text += unit == '/' ? u'.' : unit;
        }
        return String16(text.data(), text.size());
    }

    void write(char type, Parcel* parcel) {
        if (type == 'i' || type == 'b') {
            parcel->writeInt32(type == 'i' ? pickNumber() : pick(2));
        } else if (type == 'S' || type == 'I') {
            const int size = oneIn(30) ? pick(300) : pick(3);
            parcel->writeInt32(size);
            for (int i = 0; i < size; ++i) {
                write(type == 'S' ? 's' : 'i', parcel);
            }
        } else if (type == 's' || oneIn(4)) {
            parcel->writeString16(pickText());
        } else {
            // Two jobs that prune one folder at the same time end the process.
            const std::string folder = std::to_string(type == 'P' ? ++mFolders : 0);
            parcel->writeString16(String16(("/tmp/fuzz/" + folder + "/").c_str()) + pickText());
        }
    }

    // Small numbers: libbinder makes room for as many elements as a list announces, and more than
    // memory holds end the process, which is a test of its own.
    void damage(Parcel* parcel) {
        int32_t* words = reinterpret_cast<int32_t*>(const_cast<uint8_t*>(parcel->data()));
        const unsigned size = parcel->dataSize() / 4;
        for (int i = pick(4); i > 0; --i) {
            words[pick(size)] = pick(oneIn(2) ? 8 : 65536) - (oneIn(4) ? 65536 : 0);
        }
        if (oneIn(2)) {
            parcel->setDataSize(4 * pick(size + 1));
        } else {
            parcel->setDataPosition(parcel->dataSize());
            parcel->writeStrongBinder(new BBinder);
            parcel->writeDupFileDescriptor(STDIN_FILENO);
        }
    }

    void fill(uint32_t code, Parcel* parcel) {
        parcel->writeInterfaceToken(oneIn(100) ? pickText() : IStallscope::descriptor);
        for (const char type : kSignatures[code >= 1 && code <= 12 ? code - 1 : pick(12)]) {
            write(type, parcel);
        }
        // A damaged path may lead out of the test's folder, and a job prunes where it leads.
        if (code != 1 && oneIn(3)) {
            damage(parcel);
        }
    }

    // Damage may make a text the length of a list, and libbinder make room for that.
    bool hasRunOutOfMemory() {
        const std::string written = outputOfTheDaemon();
        if (count(written, "std::bad_alloc") + count(written, "out-of-memory") == 0) {
            return false;
        }
        forgetOutputOfTheDaemon();
        mDaemon = stallscope();
        return true;
    }

    std::mt19937 mRandom;
    int mFolders = 0;
};

TEST_F(StubFuzzTest, ParcelsOfAnyKindAreSurvived) {
    const char* const wanted[] = {getenv("STALLSCOPE_FUZZ_CALLS"), getenv("STALLSCOPE_FUZZ_SEED")};
    const long calls = wanted[0] == nullptr ? 1000 : atol(wanted[0]);
    const long seed = wanted[1] == nullptr ? 1 : atol(wanted[1]);
    mRandom.seed(seed);
    std::filesystem::create_directories("/tmp/fuzz/0");
    size_t answered = 0, ends = 0;
    for (long i = 1; i <= calls; ++i) {
        Parcel data, reply;
        const uint32_t method = pickCode();
        fill(method, &data);
        const uint32_t flags = oneIn(10) ? IBinder::FLAG_ONEWAY : 0;
        const status_t result =
                IInterface::asBinder(mDaemon)->transact(method, data, &reply, flags);
        if (result == DEAD_OBJECT && hasRunOutOfMemory()) {
            ++ends;
            continue;
        }
        ASSERT_NE(DEAD_OBJECT, result)
                << "seed " << seed << ", call " << i << ", code " << method << "\n"
                << outputOfTheDaemon();
        answered += result == OK ? 1 : 0;
    }
    printf("%zu of %ld parcels were accepted, %zu ended the daemon by a list without end\n",
           answered, calls, ends);
    EXPECT_LT(calls / 4U, answered) << "too few parcels reach a method";
    EXPECT_TRUE(eventually(isDaemonIdle, 60));
    EXPECT_EQ(ends, exitsOfTheDaemon().size());
    expectEverythingWorks();
}

}  // namespace
}  // namespace android::test
