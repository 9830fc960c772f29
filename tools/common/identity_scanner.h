#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace Tolvek::Orvan::DeviceId::Tools
{

/// A place in an XML document; lines and columns count from 1.
struct Position
{
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Everything of a document that has a meaning, and where it stands.
struct ScannedDocument
{
    /// An attribute that every identity has, in the spellings that readers accept, by their precedence. One that
    /// occurs more than once is as good as missing.
    struct Attribute
    {
        static constexpr std::size_t kSpellings = 3;
        std::array<std::size_t, kSpellings> occurrences{};
        std::array<std::string, kSpellings> values;

        [[nodiscard]] const std::string* value() const;
        [[nodiscard]] bool isRepeated() const;
    };

    std::string encoding;
    std::string root;
    /// Whether identities may have their root in its namespace: the common one, or none.
    bool isRootSpaceKnown = false;
    Position rootPosition;
    std::optional<Position> productionPosition;
    Attribute partNumber;
    Attribute serialNumber;
    Attribute name;
    Attribute location;
    Attribute when;
    std::optional<std::string> eclMajor;
    std::optional<std::string> eclMinor;
    std::optional<std::string> velType;
    std::size_t vels = 0;
};

/// Why a text is not well-formed XML.
struct XmlError
{
    Position position;
    std::string reason;
};

/// Reads a document with another parser than the library does: that one tells neither place nor reason.
/// \return what is wrong, if anything is
std::optional<XmlError> scan(const std::string& xml, ScannedDocument& document);

} // namespace Tolvek::Orvan::DeviceId::Tools
