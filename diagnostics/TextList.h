#ifndef STALLSCOPE_DIAGNOSTICS_TEXTLIST_H
#define STALLSCOPE_DIAGNOSTICS_TEXTLIST_H

#include <algorithm>
#include <string>
#include <vector>

namespace android {

// True when one of the texts is exactly this one.
inline bool containsText(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_TEXTLIST_H
