#ifndef STALLSCOPE_ANALYSIS_MODEL_PLACE_H
#define STALLSCOPE_ANALYSIS_MODEL_PLACE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace stallscope {

// A line that a statement rests on: which of Snapshot::sources, and its number there from 1 on.
struct Place {
    uint32_t source = 0;
    uint32_t line = 0;
};

inline bool operator==(Place a, Place b) {
    return a.source == b.source && a.line == b.line;
}
inline bool operator<(Place a, Place b) {
    return a.source != b.source ? a.source < b.source : a.line < b.line;
}

// Whole lines of one source, and where they stand in it.
struct TextPiece {
    std::string_view text;
    uint32_t source = 0;
    uint32_t firstLine = 1;
};

// A piece that stays in memory as long as any copy of it: mapped, or read into a string.
struct KeptText : TextPiece {
    std::shared_ptr<const void> owner;
};

struct SkippedLine {
    Place place;
    std::string text;  // its first kLongestExample bytes
};

// Every line of an input is counted once: lines == read + ignored + skipped.
struct LineCount {
    static constexpr size_t kMostExamples = 10;
    static constexpr size_t kLongestExample = 200;

    uint64_t read = 0;                  // something of it was kept
    uint64_t ignored = 0;               // known, and nothing in it is wanted
    uint64_t skipped = 0;               // could not be read
    std::vector<SkippedLine> examples;  // the first skipped ones

    uint64_t lines() const { return read + ignored + skipped; }
    void skip(Place place, std::string_view line) {
        ++skipped;
        if (examples.size() < kMostExamples) {
            examples.push_back({place, std::string(line.substr(0, kLongestExample))});
        }
    }
    void add(const LineCount& other) {
        read += other.read;
        ignored += other.ignored;
        skipped += other.skipped;
        for (const SkippedLine& each : other.examples) {
            if (examples.size() < kMostExamples) {
                examples.push_back(each);
            }
        }
    }
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_MODEL_PLACE_H
