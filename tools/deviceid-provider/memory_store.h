#pragma once

#include <string>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// Identities in memories that the kernel shows as files of a fixed size: nvmem and EEPROM files.
///
/// The identity begins at the first byte; the rest is padded with 0x00 or 0xFF, which no identity contains. Reading
/// stops there: a slow memory is not read to its end.
///
/// A memory cannot be replaced in one step. It is written so that nobody takes a half-written one for an identity: its
/// first byte becomes padding, then the rest is written, the first byte at last. Only blocks that change are written,
/// because memories wear. A write that is interrupted leaves a memory that reads as empty.
///
/// Calls for one memory must not overlap.

/// Whether the file belongs to the kernel's sysfs, where memories are.
bool isKernelMemory(const std::string& path) noexcept;

/// \throws std::runtime_error if the memory cannot be read or is empty
std::string readMemory(const std::string& path);

/// Pads with what the memory was padded with, 0xFF if it was not. Reads back what was written.
/// \throws std::runtime_error if the content does not fit, which is found before anything is written, or if the memory
///         cannot be written or holds something else afterwards
void writeMemory(const std::string& path, const std::string& content);

} // namespace Tolvek::Orvan::DeviceId::Provider
