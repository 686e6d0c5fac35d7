#include <string>
#include <string_view>
#include <utility>

#include "analysis/output/CleanText.h"
#include "analysis/output/Output.h"
#include "analysis/output/PageData.h"
#include "analysis/output/PageTemplate.h"

namespace stallscope {

std::string writeHtml(const Snapshot& snapshot, const Findings& findings) {
    TextOptions all;
    all.width = 100;
    all.height = 200;
    const std::pair<std::string_view, std::string> parts[] = {
            {"<!--title-->", escapeHtml(cleanText(sentenceOf(snapshot, findings)))},
            {"<!--answer-->", escapeHtml(cleanText(sentenceOf(snapshot, findings)))},
            {"<!--text-->", escapeHtml(writeText(snapshot, findings, all))},
            {"<!--data-->", writePageData(snapshot, findings)},
    };
    // In the template's order, so that no part is searched for another's mark.
    std::string_view rest = kPageTemplate;
    std::string page;
    for (const auto& [mark, text] : parts) {
        size_t at = rest.find(mark);
        page += rest.substr(0, at);
        page += text;
        rest.remove_prefix(at + mark.size());
    }
    page += rest;
    return page;
}

}  // namespace stallscope
