#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Tolvek::Orvan::DeviceId::Tools
{

/// An input that cannot be had: its name and the reason in one line.
class UnreadableInput : public std::runtime_error
{
public:
    using runtime_error::runtime_error;
};

/// No identity comes near this size.
constexpr std::size_t kLargestIdentityInput = std::size_t{1024} * 1024;

/// How messages call an input: the file's name, or "standard input" for "-".
std::string inputName(const std::string& file);

/// The whole content of a file, or of standard input for "-".
/// \throws UnreadableInput if it cannot be read or has more than `limit` bytes
std::string readInput(const std::string& file, std::size_t limit = kLargestIdentityInput);

} // namespace Tolvek::Orvan::DeviceId::Tools
