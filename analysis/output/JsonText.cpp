#include "analysis/output/JsonText.h"

#include <json/json.h>

#include <algorithm>
#include <charconv>

#include "analysis/output/CleanText.h"

namespace stallscope {

namespace {

// Nearly all texts are: names of programs, words, codes.
bool isPlain(char byte) {
    return byte >= 0x20 && byte < 0x7f && byte != '"' && byte != '\\';
}

std::string quoted(std::string_view text) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, validText(text));
}

}  // namespace

void JsonText::text(std::string_view value) {
    separate();
    if (std::all_of(value.begin(), value.end(), isPlain)) {
        put("\"");
        put(value);
        put("\"");
    } else {
        put(quoted(value));
    }
}

void JsonText::number(int64_t value) {
    separate();
    char* begin = &mBuffer[mUsed];
    mUsed += std::to_chars(begin, begin + kRoom / 2, value).ptr - begin;
}

void JsonText::flush() {
    if (mUsed > 0) {
        mLast = mBuffer[mUsed - 1];
        mSink(std::string_view(mBuffer.data(), mUsed));
        mUsed = 0;
    }
}

}  // namespace stallscope
