#ifndef STALLSCOPE_ANALYSIS_OUTPUT_JSONTEXT_H
#define STALLSCOPE_ANALYSIS_OUTPUT_JSONTEXT_H

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "analysis/output/Output.h"

namespace stallscope {

// Writes JSON piece by piece: as a tree of values a fleet's log would take many times the memory
// and the time of its text. Commas come by themselves; brackets have to match. With two arguments
// a member of an object, with one an item of a list.
class JsonText {
  public:
    explicit JsonText(const TextSink& sink) : mSink(sink), mBuffer(kSize) {}
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    void open(char bracket) {
        separate();
        mBuffer[mUsed++] = bracket;
    }
    void open(std::string_view name, char bracket) {
        key(name);
        mBuffer[mUsed++] = bracket;
    }
    void close(char bracket) {
        makeRoom(1);
        mBuffer[mUsed++] = bracket;
    }

    // Any bytes: what is no UTF-8 becomes U+FFFD.
    void text(std::string_view value);
    void text(std::string_view name, std::string_view value) {
        key(name);
        text(value);
    }
    // Null when it is empty.
    void textOrNull(std::string_view name, std::string_view value) {
        key(name);
        value.empty() ? put("null") : text(value);
    }

    void number(int64_t value);
    void number(std::string_view name, int64_t value) {
        key(name);
        number(value);
    }
    // Null when it is `none`.
    void numberOrNull(std::string_view name, int64_t value, int64_t none) {
        key(name);
        value == none ? put("null") : number(value);
    }

    void flag(std::string_view name, bool value) {
        key(name);
        value ? put("true") : put("false");
    }

    // Ends the line.
    void finish() {
        put("\n");
        flush();
    }

  private:
    static constexpr size_t kSize = size_t{64} << 10;
    static constexpr size_t kRoom = 64;  // for a key or a number with all that stands around it

    // name: letters, less than kRoom of them
    void key(std::string_view name) {
        separate();
        mBuffer[mUsed++] = '"';
        memcpy(&mBuffer[mUsed], name.data(), name.size());
        mUsed += name.size();
        mBuffer[mUsed++] = '"';
        mBuffer[mUsed++] = ':';
    }
    // No value ends in one of these, and the first has nothing ahead.
    void separate() {
        makeRoom(kRoom);
        char last = mUsed == 0 ? mLast : mBuffer[mUsed - 1];
        if (last != '{' && last != '[' && last != ':') {
            mBuffer[mUsed++] = ',';
        }
    }
    void put(std::string_view text) {
        makeRoom(text.size());
        if (text.size() > kSize) {
            mLast = text.back();
            mSink(text);
            return;
        }
        memcpy(&mBuffer[mUsed], text.data(), text.size());
        mUsed += text.size();
    }
    void makeRoom(size_t size) {
        if (kSize - mUsed < size) {
            flush();
        }
    }
    void flush();

    const TextSink& mSink;
    std::vector<char> mBuffer;
    size_t mUsed = 0;
    char mLast = ':';  // of what is flushed
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_JSONTEXT_H
