#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// How a row looks where colours are welcome.
enum class Look
{
    Plain,
    Heading,
    Emphasis,
    Bad,
};

/// A row of cells; the last cell of a row that has fewer than others takes the place of the missing ones.
struct Row
{
    std::vector<std::string> cells;
    Look look = Look::Plain;
};

/// A table as text. Columns are as wide as their widest cell; if that is more than `width` columns of a terminal, the
/// widest ones are made narrower, the first one last, and what does not fit is cut off with "…". Where even that is too
/// wide, the last columns are left out.
/// \param rows  what they hold may be foreign: it is made printable
/// \param width 0: no limit
std::string renderTable(const std::vector<Row>& rows, std::size_t width, bool inColour);

/// Columns that a table needs if it is not made narrower.
std::size_t naturalWidth(const std::vector<Row>& rows);

/// Columns that a text takes on a terminal.
std::size_t displayWidth(const std::string& text);

/// The escape sequences around a text that has this look.
std::string coloured(const std::string& text, Look look, bool inColour);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
