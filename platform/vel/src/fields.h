#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::Vel
{

/// The value of a field with its escapes undone, and where it begins in the VEL string.
struct FieldValue
{
    std::string text;
    std::size_t position{0};
};

/// A VEL string taken apart; the values are not interpreted yet.
struct Fields
{
    std::string type;
    std::map<char, FieldValue> byLetter;
};

/// \throws std::invalid_argument as Vel::parse
Fields splitFields(std::string_view text);

/// Refuses a VEL string. `field` says where in the grammar we are, `position` where in the string.
[[noreturn]] void refuse(const std::string& field, std::size_t position, const std::string& expected);

/// How a refusal names the field of a letter.
std::string fieldName(char letter);

} // namespace Tolvek::Orvan::Vel
