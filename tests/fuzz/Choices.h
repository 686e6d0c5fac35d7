#ifndef STALLSCOPE_TESTS_CHOICES_H
#define STALLSCOPE_TESTS_CHOICES_H

#include <cstddef>
#include <cstdint>

namespace android::test {

// What a generator decides by: the bytes of a fuzzer, or pseudo-random numbers from a seed.
class Choices {
  public:
    Choices(const uint8_t* data, size_t size) : mData(data), mSize(size) {}
    // Neighbouring seeds give unrelated numbers.
    explicit Choices(uint64_t seed) : mState((seed + 1) * 0x9e3779b97f4a7c15 | 1) {
        for (int i = 0; i < 20; ++i) {
            below(2);
        }
    }

    // A number below `bound`, which is at most 256; 0 once the bytes are used up.
    unsigned below(unsigned bound) {
        if (mState == 0) {
            return mNext < mSize ? mData[mNext++] % bound : 0;
        }
        mState ^= mState << 13;
        mState ^= mState >> 7;
        mState ^= mState << 17;
        return static_cast<unsigned>((mState >> 32) * bound >> 32);
    }
    bool oneIn(unsigned bound) { return below(bound) == bound - 1; }

    template <typename Value, size_t count>
    const Value& among(const Value (&values)[count]) {
        return values[below(count)];
    }

    // No bytes are left; never true of a seed.
    bool isExhausted() const { return mState == 0 && mNext >= mSize; }

  private:
    const uint8_t* mData = nullptr;
    size_t mSize = 0;
    size_t mNext = 0;
    uint64_t mState = 0;
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_CHOICES_H
