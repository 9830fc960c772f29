#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace Tolvek::Orvan::Log
{

/// One argument of a log format, with its type erased so that the formatting library stays out of the headers.
///
/// Holds a view: the text of a string argument must outlive the log call, which every full expression guarantees.
class Argument
{
public:
    using Value = std::variant<std::int64_t, std::uint64_t, double, bool, std::string_view, const void*>;

    template <typename T>
    Argument(const T& value) // NOLINT(google-explicit-constructor,hicpp-explicit-conversions): made for implicit use
        : value_{convert(value)}
    {
    }

    [[nodiscard]] const Value& value() const noexcept { return value_; }

private:
    template <typename T>
    static Value convert(const T& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            return value;
        else if constexpr (std::is_enum_v<T>)
            return convert(static_cast<std::underlying_type_t<T>>(value));
        else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
            return static_cast<std::int64_t>(value);
        else if constexpr (std::is_integral_v<T>)
            return static_cast<std::uint64_t>(value);
        else if constexpr (std::is_floating_point_v<T>)
            return static_cast<double>(value);
        else if constexpr (std::is_convertible_v<const T&, const char*>)
            return text(value);
        else if constexpr (std::is_convertible_v<const T&, std::string_view>)
            return std::string_view{value};
        else
            return static_cast<const void*>(value);
    }

    static std::string_view text(const char* value) { return value != nullptr ? value : "(null)"; }

    Value value_;
};

} // namespace Tolvek::Orvan::Log
