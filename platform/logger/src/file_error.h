#pragma once

#include "descriptor.h"

#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Tolvek::Orvan::Log
{

/// Throws a std::runtime_error that says what failed and, from errno, why.
[[noreturn]] inline void throwSystemError(const std::string& what)
{
    const auto code = errno;
    throw std::runtime_error{what + ": " + std::generic_category().message(code)};
}

/// \throws std::runtime_error
inline struct stat statusOf(const Descriptor& file)
{
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throwSystemError("cannot examine it");
    return status;
}

} // namespace Tolvek::Orvan::Log
