#include "values.h"

#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace Tolvek::Orvan::Vel
{

namespace
{

constexpr std::size_t dateLength = 10;

/// Digits only, all of them, and within what `Number` holds on this machine: std::from_chars knows its width, and for
/// unsigned numbers takes no sign.
template <typename Number>
std::optional<Number> parseNumber(std::string_view digits)
{
    Number number{0};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return number;
}

unsigned long daysOf(unsigned long year, unsigned long month)
{
    constexpr std::array<unsigned long, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return days.at(month - 1) + (month == 2 && isLeapYear ? 1 : 0);
}

bool isOnCalendar(const Date& date)
{
    if (date.year() == 0 && date.month() == 0 && date.day() == 0)
        return true;
    return date.month() >= 1 && date.month() <= 12 && date.day() >= 1 &&
           date.day() <= daysOf(date.year(), date.month());
}

std::optional<Date> toDate(std::string_view text)
{
    if (text.size() != dateLength || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const auto year = parseNumber<unsigned long>(text.substr(0, 4));
    const auto month = parseNumber<unsigned long>(text.substr(5, 2));
    const auto day = parseNumber<unsigned long>(text.substr(8, 2));
    if (!year || !month || !day)
        return std::nullopt;
    const Date date{*year, *month, *day};
    return isOnCalendar(date) ? std::optional{date} : std::nullopt;
}

std::optional<Version> toVersion(std::string_view text)
{
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos)
        return std::nullopt;
    const auto majorNumber = parseNumber<std::size_t>(text.substr(0, dot));
    const auto minorNumber = parseNumber<std::size_t>(text.substr(dot + 1));
    if (!majorNumber || !minorNumber)
        return std::nullopt;
    return Version{*majorNumber, *minorNumber};
}

template <typename Value>
Value parseField(const Fields& fields, char letter, std::optional<Value> (*convert)(std::string_view),
                 const char* expected)
{
    const auto field = fields.byLetter.find(letter);
    if (field == fields.byLetter.end())
        return {};
    const auto value = convert(field->second.text);
    if (!value)
        refuse(fieldName(letter), field->second.position, expected);
    return *value;
}

} // namespace

Date parseDate(const Fields& fields, char letter)
{
    return parseField(fields, letter, toDate, "a calendar date YYYY-MM-DD or 0000-00-00");
}

Version parseVersion(const Fields& fields, char letter)
{
    static_assert(sizeof(std::size_t) == 4 || sizeof(std::size_t) == 8);
    const char* const expected = sizeof(std::size_t) == 4
                                     ? "two decimal numbers joined by \".\", each at most 4294967295"
                                     : "two decimal numbers joined by \".\", each at most 18446744073709551615";
    return parseField(fields, letter, toVersion, expected);
}

} // namespace Tolvek::Orvan::Vel
