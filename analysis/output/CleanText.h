#ifndef STALLSCOPE_ANALYSIS_OUTPUT_CLEANTEXT_H
#define STALLSCOPE_ANALYSIS_OUTPUT_CLEANTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace stallscope {

// Names and lines are anybody's text. Here it becomes valid UTF-8 without control characters: each
// of these and each wrong byte becomes U+FFFD, a tab or a line end a blank.
std::string cleanText(std::string_view text);

// Valid UTF-8: each wrong byte becomes U+FFFD, all else stays. jsoncpp takes any bytes for UTF-8,
// and in doing so swallows what stands behind a wrong one.
std::string validText(std::string_view text);

// At most this many bytes of a valid text, cut between characters and ended with an ellipsis.
std::string shortened(std::string text, size_t most);

// Of a clean text, for use between tags and in quoted attributes.
std::string escapeHtml(std::string_view text);

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_CLEANTEXT_H
