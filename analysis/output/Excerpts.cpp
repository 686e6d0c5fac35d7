#include "analysis/output/Excerpts.h"

#include <algorithm>

namespace stallscope {

namespace {

std::string_view takeLine(std::string_view* text) {
    size_t end = text->find('\n');
    std::string_view line = text->substr(0, end);
    text->remove_prefix(end == std::string_view::npos ? text->size() : end + 1);
    return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

void addLine(Place place, std::string_view line, std::vector<Excerpt>* excerpts) {
    bool isNext = !excerpts->empty() && excerpts->back().source == place.source &&
                  excerpts->back().firstLine + excerpts->back().lines.size() == place.line;
    if (!isNext) {
        excerpts->push_back({place.source, place.line, {}});
    }
    excerpts->back().lines.push_back(line);
}

}  // namespace

void Excerpts::want(Place place, uint32_t context) {
    uint32_t first = place.line > context ? place.line - context : 1;
    for (uint32_t line = first; line <= place.line + context; ++line) {
        mWanted.insert({place.source, line});
    }
}

std::vector<Excerpt> Excerpts::read(const Snapshot& snapshot) const {
    std::vector<const KeptText*> texts;
    for (const KeptText& each : snapshot.texts) {
        texts.push_back(&each);
    }
    std::sort(texts.begin(), texts.end(), [](const KeptText* a, const KeptText* b) {
        return Place{a->source, a->firstLine} < Place{b->source, b->firstLine};
    });
    std::vector<Excerpt> excerpts;
    auto wanted = mWanted.begin();
    for (const KeptText* each : texts) {
        std::string_view rest = each->text;
        Place place = {each->source, each->firstLine};
        wanted = std::lower_bound(wanted, mWanted.end(), place);
        for (; !rest.empty() && wanted != mWanted.end(); ++place.line) {
            std::string_view line = takeLine(&rest);
            if (*wanted == place) {
                addLine(place, line, &excerpts);
                ++wanted;
            }
        }
    }
    return excerpts;
}

}  // namespace stallscope
