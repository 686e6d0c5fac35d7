#include "service/Utf8Repair.h"

#include <algorithm>
#include <string_view>

namespace android {

namespace {

constexpr char kReplacement[] = "\xef\xbf\xbd";

// First bytes of a sequence, its length, and the range of its second byte; the others are 80 to bf.
struct SequenceClass {
    unsigned char first, last, length, secondFirst, secondLast;
};

constexpr SequenceClass kSequenceClasses[] = {
        {0x00, 0x7f, 1, 0, 0},       {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
        {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
        {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

bool isBetween(char c, unsigned char first, unsigned char last) {
    auto byte = static_cast<unsigned char>(c);
    return byte >= first && byte <= last;
}

bool isSequence(std::string_view text, const SequenceClass& kind) {
    if (!isBetween(text[0], kind.first, kind.last) || text.size() < kind.length) {
        return false;
    }
    for (size_t i = 1; i < kind.length; ++i) {
        bool isSecond = i == 1;
        if (!isBetween(text[i], isSecond ? kind.secondFirst : 0x80,
                       isSecond ? kind.secondLast : 0xbf)) {
            return false;
        }
    }
    return true;
}

// The length of the well-formed sequence at the beginning of the text, or 0.
size_t sequenceLength(std::string_view text) {
    for (const SequenceClass& kind : kSequenceClasses) {
        if (isSequence(text, kind)) {
            return kind.length;
        }
    }
    return 0;
}

}  // namespace

std::string repairUtf8(const std::string& text) {
    std::string repaired;
    std::string_view rest = text;
    while (!rest.empty()) {
        size_t length = sequenceLength(rest);
        repaired += length == 0 ? kReplacement : rest.substr(0, length);
        rest.remove_prefix(length == 0 ? 1 : length);
    }
    return repaired;
}

void repairUtf8(std::initializer_list<std::vector<std::string>*> lists) {
    for (std::vector<std::string>* list : lists) {
        if (list == nullptr) {
            continue;
        }
        for (std::string& text : *list) {
            bool isAscii = std::all_of(text.begin(), text.end(),
                                       [](char c) { return isBetween(c, 0, 0x7f); });
            if (!isAscii) {
                text = repairUtf8(text);
            }
        }
    }
}

}  // namespace android
