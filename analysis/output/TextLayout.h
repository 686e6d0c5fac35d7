#ifndef STALLSCOPE_ANALYSIS_OUTPUT_TEXTLAYOUT_H
#define STALLSCOPE_ANALYSIS_OUTPUT_TEXTLAYOUT_H

#include <string>
#include <string_view>
#include <vector>

#include "analysis/output/Output.h"

namespace stallscope {

enum class Style { kPlain, kBad, kGood, kHeading, kFaint };

// Lines of text that become one screen: cut at the terminal's width and height, coloured or not.
class TextLayout {
  public:
    explicit TextLayout(const TextOptions& options) : mOptions(options) {}

    // A line, with something less important behind it ("[lines 3, 7]").
    void line(std::string_view text, Style style = Style::kPlain, std::string_view behind = {});
    void gap() { line({}); }
    // Columns made as wide as their widest cell; the first row is the heading.
    void table(const std::vector<std::vector<std::string>>& rows,
               const std::vector<std::string>& behind);

    // True when that many more lines would no longer be shown.
    bool isFull(size_t more = 0) const {
        return !mOptions.all && mLines.size() + more > static_cast<size_t>(mOptions.height);
    }

    std::string take();

  private:
    struct Line {
        std::string text;
        std::string behind;
        Style style = Style::kPlain;
    };

    std::string render(const Line& line) const;
    std::string coloured(std::string_view text, Style style) const;

    TextOptions mOptions;
    std::vector<Line> mLines;
};

}  // namespace stallscope

#endif  // STALLSCOPE_ANALYSIS_OUTPUT_TEXTLAYOUT_H
