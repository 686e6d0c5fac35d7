#include "analysis/output/TextLayout.h"

#include <algorithm>

#include "analysis/output/CleanText.h"

namespace stallscope {

namespace {

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

size_t columnsOf(std::string_view text) {
    return text.size() - std::count_if(text.begin(), text.end(), continuesCharacter);
}

// The first `columns` columns, never half a character.
std::string_view cut(std::string_view text, size_t columns) {
    size_t at = 0;
    for (size_t seen = 0; at < text.size(); ++at) {
        seen += continuesCharacter(text[at]) ? 0 : 1;
        if (seen > columns) {
            break;
        }
    }
    return text.substr(0, at);
}

std::string_view codeOf(Style style) {
    switch (style) {
        case Style::kBad:
            return "\x1b[1;31m";
        case Style::kGood:
            return "\x1b[1;32m";
        case Style::kHeading:
            return "\x1b[1m";
        case Style::kFaint:
            return "\x1b[2m";
        case Style::kPlain:
            break;
    }
    return {};
}

}  // namespace

void TextLayout::line(std::string_view text, Style style, std::string_view behind) {
    // Names of processes and threads are anybody's: a terminal must not take them for commands.
    mLines.push_back({cleanText(text), cleanText(behind), style});
}

void TextLayout::table(const std::vector<std::vector<std::string>>& rows,
                       const std::vector<std::string>& behind) {
    std::vector<size_t> widths;
    for (const std::vector<std::string>& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columnsOf(row[i]));
        }
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        std::string text;
        for (size_t column = 0; column < rows[i].size(); ++column) {
            const std::string& cell = rows[i][column];
            text += "  " + cell;
            if (column + 1 < rows[i].size()) {
                text.append(widths[column] - columnsOf(cell), ' ');
            }
        }
        line(text, i == 0 ? Style::kHeading : Style::kPlain, behind[i]);
    }
}

std::string TextLayout::take() {
    while (!mLines.empty() && mLines.back().text.empty()) {
        mLines.pop_back();
    }
    size_t most = static_cast<size_t>(std::max(mOptions.height, 2));
    bool isWhole = mOptions.all || mLines.size() < most;
    size_t shown = isWhole ? mLines.size() : most - 2;  // the prompt takes a line as well
    std::string text;
    for (size_t i = 0; i < shown; ++i) {
        text += render(mLines[i]) + "\n";
    }
    return isWhole ? text : text + coloured("There is more: --all shows it.", Style::kFaint) + "\n";
}

std::string TextLayout::render(const Line& line) const {
    size_t width = mOptions.width > 0 ? static_cast<size_t>(mOptions.width) : SIZE_MAX;
    std::string_view text = line.text;
    size_t columns = columnsOf(text);
    if (columns > width) {
        return coloured(std::string(cut(text, width - 1)) + "…", line.style);
    }
    std::string shown = coloured(text, line.style);
    if (!line.behind.empty() && columns + 2 + columnsOf(line.behind) <= width) {
        shown += "  " + coloured(line.behind, Style::kFaint);
    }
    return shown;
}

std::string TextLayout::coloured(std::string_view text, Style style) const {
    std::string_view code = mOptions.hasColour ? codeOf(style) : std::string_view();
    return code.empty() ? std::string(text) : std::string(code) + std::string(text) + "\x1b[0m";
}

}  // namespace stallscope
