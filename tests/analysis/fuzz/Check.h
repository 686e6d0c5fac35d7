#ifndef STALLSCOPE_TESTS_ANALYSIS_FUZZ_CHECK_H
#define STALLSCOPE_TESTS_ANALYSIS_FUZZ_CHECK_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace stallscope {

inline std::string_view textOf(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

inline uint64_t linesOf(std::string_view text) {
    bool endsOpen = !text.empty() && text.back() != '\n';
    return std::count(text.begin(), text.end(), '\n') + (endsOpen ? 1 : 0);
}

inline void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}

}  // namespace stallscope

#endif  // STALLSCOPE_TESTS_ANALYSIS_FUZZ_CHECK_H
