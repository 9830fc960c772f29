#include <logger/logger.h>

#include "utf8.h"

#include <fmt/args.h>
#include <fmt/printf.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <variant>

// The formatting library is the judge of formats, with three exceptions that are settled before it sees one:
// it cuts a 64-bit argument of "%ld" where long has 32 bits, so length modifiers are taken out; it shows a negative
// number given to "%u" as a huge one, so the conversion follows the argument's own sign; and it reads past the end of a
// format that ends within a directive, and takes any width for good, so both are refused here.

namespace Tolvek::Orvan::Log
{

namespace
{

constexpr std::string_view flags = "-+ #0";
constexpr std::string_view lengthModifiers = "hlLjzt";
constexpr std::string_view conversions = "diouxXcsfFeEgGaAp";
constexpr std::int64_t maxWidth = 9999;

/// Rewrites a format for the formatting library.
class FormatRewriter
{
public:
    FormatRewriter(std::string_view format, const Argument* arguments, std::size_t count)
        : rest_{format}
        , arguments_{arguments}
        , count_{count}
    {
        result_.reserve(format.size());
    }

    /// \throws std::invalid_argument if the format does not fit its arguments
    std::string rewritten() &&
    {
        while (!rest_.empty())
        {
            const char next = rest_.front();
            copy();
            if (next == '%')
                rewriteDirective();
        }
        return std::move(result_);
    }

private:
    void rewriteDirective()
    {
        if (peek() == '%')
            return copy();
        copyAnyOf(flags);
        rewriteWidth();
        if (peek() == '.')
        {
            copy();
            rewriteWidth();
        }
        while (lengthModifiers.find(peek()) != std::string_view::npos)
            rest_.remove_prefix(1);
        rewriteConversion();
    }

    void rewriteWidth()
    {
        if (peek() == '*')
        {
            const auto* width = std::get_if<std::int64_t>(&nextArgument());
            if (width == nullptr || *width < -maxWidth || *width > maxWidth)
                throw std::invalid_argument{"the width is no integer, or too large"};
            return copy();
        }
        if (copyAnyOf("0123456789") > std::to_string(maxWidth).size())
            throw std::invalid_argument{"the width is too large"};
    }

    void rewriteConversion()
    {
        if (conversions.find(peek()) == std::string_view::npos)
            throw std::invalid_argument{"there is no such conversion"};
        const auto& argument = nextArgument();
        const bool isDecimal = peek() == 'd' || peek() == 'i' || peek() == 'u';
        copy();
        if (isDecimal && std::holds_alternative<std::int64_t>(argument))
            result_.back() = 'd';
        else if (isDecimal && std::holds_alternative<std::uint64_t>(argument))
            result_.back() = 'u';
        else if (isDecimal && !std::holds_alternative<bool>(argument))
            throw std::invalid_argument{"the argument is no integer"};
    }

    [[nodiscard]] char peek() const
    {
        if (rest_.empty())
            throw std::invalid_argument{"the format ends within a directive"};
        return rest_.front();
    }

    void copy()
    {
        result_ += rest_.front();
        rest_.remove_prefix(1);
    }

    std::size_t copyAnyOf(std::string_view characters)
    {
        const auto length = std::min(rest_.find_first_not_of(characters), rest_.size());
        result_ += rest_.substr(0, length);
        rest_.remove_prefix(length);
        return length;
    }

    const Argument::Value& nextArgument()
    {
        if (used_ == count_)
            throw std::invalid_argument{"there are more directives than arguments"};
        return arguments_[used_++].value();
    }

    std::string_view rest_;
    const Argument* arguments_;
    std::size_t count_;
    std::size_t used_ = 0;
    std::string result_;
};

using Store = fmt::dynamic_format_arg_store<fmt::printf_context>;

template <typename Value>
void push(Store& store, const Value& value)
{
    store.push_back(value);
}

void push(Store& store, std::string_view text)
{
    if (text.size() <= kMaxArgument)
        store.push_back(text);
    else
        store.push_back(shortened(text, kMaxArgument));
}

std::string render(std::string_view format, const Argument* arguments, std::size_t count)
{
    Store store;
    for (std::size_t index = 0; index != count; ++index)
        std::visit([&store](const auto& value) { push(store, value); }, arguments[index].value());
    return fmt::vsprintf(FormatRewriter{format, arguments, count}.rewritten(), fmt::printf_args{store});
}

std::string asItStands(std::string_view format) noexcept
{
    try
    {
        return std::string{format};
    }
    catch (...)
    {
        return {};
    }
}

} // namespace

std::string formatText(std::string_view format, const Argument* arguments, std::size_t count) noexcept
{
    try
    {
        return render(format, arguments, count);
    }
    catch (...)
    {
        return asItStands(format);
    }
}

} // namespace Tolvek::Orvan::Log
