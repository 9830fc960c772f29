#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools
{

/// The two ways to write an identity.
enum class Form
{
    Xml,
    Vel,
};

/// What a validated identity says, with the texts as they stand in it.
struct Identity
{
    std::string partNumber;
    std::string serialNumber;
    std::string name;
    std::string producedAt;
    std::string producedOn;
    std::optional<std::string> velType;
    std::optional<std::string> ecl;
    std::optional<std::string> vel;
    /// The device-ID XML document: the text itself, or what a VEL string is turned into.
    std::string xml;
    /// What is allowed but looks like a mistake, each in one line.
    std::vector<std::string> warnings;
};

/// A text that is no identity. The message is one line: source, line and column (XML) or byte (VEL), field, and what
/// was expected there. What it quotes may be shown on a terminal.
class InvalidIdentity : public std::runtime_error
{
public:
    using runtime_error::runtime_error;
};

/// The form that a text has by its beginning; nothing if it can be neither.
std::optional<Form> recogniseForm(std::string_view text);

/// Takes one line feed off the end: a VEL file is a line of text, whose end does not belong to the VEL string.
std::string withoutLineEnd(std::string text);

/// Checks that a text is an identity that can travel on D-Bus and be read by every client. Not to be called by two
/// threads at a time, nor while other code of the process uses libxml2.
/// \param source how messages call the text
/// \throws InvalidIdentity
/// \{
Identity validateXml(const std::string& text, const std::string& source);
Identity validateVel(const std::string& text, const std::string& source);
Identity validateIdentity(const std::string& text, Form form, const std::string& source);
/// \}

} // namespace Tolvek::Orvan::DeviceId::Tools
