#ifndef STALLSCOPE_TESTS_CHOICES_H
#define STALLSCOPE_TESTS_CHOICES_H

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace android::test {

// What a generator decides by: bytes of a fuzzer, or random ones.
class Choices {
  public:
    Choices(const uint8_t* data, size_t size) : mNext(data), mEnd(data + size) {}

    // A number below `bound`, which is at most 256; 0 once the bytes are used up.
    unsigned below(unsigned bound) { return isExhausted() ? 0 : *mNext++ % bound; }
    bool oneIn(unsigned bound) { return below(bound) == bound - 1; }
    template <typename Values>
    const auto& among(const Values& values) {
        return values[below(std::size(values))];
    }
    bool isExhausted() const { return mNext == mEnd; }

  private:
    const uint8_t* mNext;
    const uint8_t* mEnd;
};

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_CHOICES_H
