#include "table.h"

#include "common/text.h"

#include <algorithm>
#include <cwchar>
#include <numeric>
#include <string_view>

#include <clocale>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 6;
constexpr const char* kEllipsis = "…";

/// The widths of characters are those of a UTF-8 terminal, whatever the locale of the process.
class Utf8Locale
{
public:
    Utf8Locale()
        : locale_{newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)}
        , before_{locale_ != nullptr ? uselocale(locale_) : nullptr}
    {
    }
    ~Utf8Locale()
    {
        if (locale_ == nullptr)
            return;
        uselocale(before_);
        freelocale(locale_);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale(Utf8Locale&&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    Utf8Locale& operator=(Utf8Locale&&) = delete;

private:
    locale_t locale_;
    locale_t before_;
};

std::size_t widthOf(char32_t character)
{
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

/// The beginning of a printable text that fits.
std::string fitted(const std::string& text, std::size_t width)
{
    if (displayWidth(text) <= width)
        return text;
    std::size_t used = 0;
    std::string_view rest = text;
    for (auto next = rest; !next.empty(); rest = next)
    {
        used += widthOf(takeCharacter(next).value_or(U'?'));
        if (used + 1 > width)
            break;
    }
    return text.substr(0, text.size() - rest.size()) + kEllipsis;
}

using Widths = std::vector<std::size_t>;

/// The last cell of a short row does not count: it may take the place of several columns.
Widths naturalWidths(const std::vector<Row>& rows)
{
    std::size_t columns = 0;
    for (const auto& row : rows)
        columns = std::max(columns, row.cells.size());
    Widths widths(columns, 0);
    for (const auto& row : rows)
    {
        const auto count = row.cells.size() == columns ? columns : row.cells.size() - 1;
        for (std::size_t i = 0; i < count; ++i)
            widths[i] = std::max(widths[i], displayWidth(row.cells[i]));
    }
    return widths;
}

std::size_t total(const Widths& widths)
{
    return std::accumulate(widths.begin(), widths.end(), (widths.size() - 1) * kGap);
}

/// Columns that cannot be had even at their narrowest go, from the right; whole ids matter more. The message of a short
/// row stays.
void leaveOutColumns(std::vector<Row>& rows, std::size_t limit)
{
    constexpr std::size_t kFewest = 3;
    auto columns = naturalWidths(rows).size();
    const auto isTooWide = [&]
    {
        auto widths = naturalWidths(rows);
        std::transform(widths.begin() + 1, widths.end(), widths.begin() + 1,
                       [](std::size_t width) { return std::min(width, kNarrowest); });
        return total(widths) > limit;
    };
    for (; columns > kFewest && isTooWide(); --columns)
    {
        for (auto& row : rows)
            row.cells.resize(std::min(row.cells.size(), columns - 1));
    }
}

void narrow(Widths& widths, std::size_t limit)
{
    while (total(widths) > limit)
    {
        auto widest = std::max_element(widths.begin() + 1, widths.end());
        if (widest == widths.end() || *widest <= kNarrowest)
            widest = widths.begin();
        if (*widest <= kNarrowest)
            return;
        --*widest;
    }
}

std::string renderRow(const Row& row, const Widths& widths, std::size_t limit)
{
    std::string line;
    std::size_t column = 0;
    for (std::size_t i = 0; i < row.cells.size(); ++i)
    {
        const bool isLast = i + 1 == row.cells.size();
        const bool isShort = isLast && row.cells.size() < widths.size();
        auto room = widths[i];
        if (isShort)
            room = limit > column ? limit - column : displayWidth(row.cells[i]);
        const auto cell = fitted(row.cells[i], room);
        line += cell;
        if (!isLast)
            line.append(widths[i] - displayWidth(cell) + kGap, ' ');
        column += widths[i] + kGap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

std::size_t displayWidth(const std::string& text)
{
    const Utf8Locale locale;
    std::size_t width = 0;
    for (std::string_view rest = text; !rest.empty();)
        width += widthOf(takeCharacter(rest).value_or(U'?'));
    return width;
}

std::string coloured(const std::string& text, Look look, bool inColour)
{
    if (!inColour || look == Look::Plain)
        return text;
    const char* sequence = "\x1b[1m";
    if (look == Look::Emphasis)
        sequence = "\x1b[32m";
    else if (look == Look::Bad)
        sequence = "\x1b[31m";
    return sequence + text + "\x1b[0m";
}

std::size_t naturalWidth(const std::vector<Row>& rows)
{
    return total(naturalWidths(rows));
}

std::string renderTable(const std::vector<Row>& rows, std::size_t width, bool inColour)
{
    auto printableRows = rows;
    for (auto& row : printableRows)
        std::transform(row.cells.begin(), row.cells.end(), row.cells.begin(), printable);
    const Utf8Locale locale;
    if (width > 0)
        leaveOutColumns(printableRows, width);
    auto widths = naturalWidths(printableRows);
    if (width > 0)
        narrow(widths, width);
    std::string text;
    for (const auto& row : printableRows)
        text += coloured(renderRow(row, widths, width), row.look, inColour) + "\n";
    return text;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
