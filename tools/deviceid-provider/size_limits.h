#pragma once

#include <cstddef>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// No document above 64 KiB can be read, so nothing larger is fetched; a file may have an end of line behind it.
constexpr std::size_t kMaxIdentity = std::size_t{64} * 1024 + 1;

/// Far more than the largest memory that identities are kept in.
constexpr std::size_t kMaxMemory = std::size_t{16} * 1024 * 1024;

/// Far more than the configuration of any machine.
constexpr std::size_t kMaxConfiguration = std::size_t{1024} * 1024;

} // namespace Tolvek::Orvan::DeviceId::Provider
