#include "fields.h"

#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::Vel
{

namespace
{

constexpr std::string_view prefix = "VEL/";

/// Not std::isalpha: what a letter is must not depend on the locale of the host process.
bool isLetter(char byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

/// Walks over a VEL string; every step ends behind what it has read or throws.
class Scanner
{
public:
    explicit Scanner(std::string_view text)
        : text_{text}
    {
    }

    Fields scan()
    {
        Fields fields;
        skipPrefix();
        fields.type = scanValue("type");
        while (skipSemicolon() && !atEnd())
            scanField(fields);
        return fields;
    }

private:
    [[nodiscard]] bool atEnd() const { return position_ == text_.size(); }

    void skipPrefix()
    {
        if (text_.substr(0, prefix.size()) != prefix)
            refuse("start", 0, "\"VEL/\"");
        position_ = prefix.size();
    }

    /// A value ends only at a semicolon or at the end of the text, so this is false only there.
    bool skipSemicolon()
    {
        if (atEnd())
            return false;
        ++position_;
        return true;
    }

    void scanField(Fields& fields)
    {
        const std::size_t start = position_;
        const char letter = text_[position_];
        if (!isLetter(letter))
            refuse("field", start, "a field letter");
        if (fields.byLetter.count(letter) != 0)
            refuse(fieldName(letter), start, "a field that has not occurred before");
        ++position_;
        if (atEnd() || text_[position_] != '=')
            refuse(fieldName(letter), position_, "\"=\" after the field letter");
        ++position_;

        FieldValue value;
        value.position = position_;
        value.text = scanValue(fieldName(letter));
        fields.byLetter.emplace(letter, std::move(value));
    }

    std::string scanValue(const std::string& field)
    {
        std::string value;
        for (; !atEnd() && text_[position_] != ';'; ++position_)
        {
            if (text_[position_] == '\\')
            {
                ++position_;
                if (atEnd())
                    refuse(field, position_, "a character after the backslash");
            }
            value += text_[position_];
        }
        return value;
    }

    std::string_view text_;
    std::size_t position_{0};
};

} // namespace

Fields splitFields(std::string_view text)
{
    return Scanner{text}.scan();
}

void refuse(const std::string& field, std::size_t position, const std::string& expected)
{
    throw std::invalid_argument("Invalid VEL: " + field + ", byte " + std::to_string(position) + ": expected " +
                                expected);
}

std::string fieldName(char letter)
{
    return std::string{"field "} + letter;
}

} // namespace Tolvek::Orvan::Vel
