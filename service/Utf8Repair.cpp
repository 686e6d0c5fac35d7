#include "service/Utf8Repair.h"

namespace android {

namespace {

constexpr char kReplacement[] = "\xef\xbf\xbd";

// As libutils counts: whatever is no first byte stands for itself.
size_t announcedLength(char c) {
    auto first = static_cast<unsigned char>(c);
    if (first < 0xc0) {
        return 1;
    }
    if (first < 0xe0) {
        return 2;
    }
    return first < 0xf0 ? 3 : 4;
}

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// Replaces a first byte and the continuations that are there, each of them.
void replaceSequence(std::string* text, size_t begin) {
    size_t end = begin + 1;
    while (end < text->size() && isContinuation((*text)[end])) {
        ++end;
    }
    std::string replacement;
    for (size_t i = begin; i < end; ++i) {
        replacement += kReplacement;
    }
    text->replace(begin, end - begin, replacement);
}

}  // namespace

std::string repairEnd(const std::string& text) {
    std::string repaired = text;
    for (size_t at = 0; at < repaired.size(); at += announcedLength(repaired[at])) {
        if (announcedLength(repaired[at]) > repaired.size() - at) {
            replaceSequence(&repaired, at);
        }
    }
    return repaired;
}

void AppendedTexts::repairEnds() const {
    for (size_t i = mFirst; mList != nullptr && i < mList->size(); ++i) {
        (*mList)[i] = repairEnd((*mList)[i]);
    }
}

}  // namespace android
