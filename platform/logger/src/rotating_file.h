#pragma once

#include "log_folder.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// A log file that, once it has reached its full size, is renamed to the same name with ".1" and begun anew.
///
/// Several processes may write to the same file: each line is appended as a whole, and whoever finds the file renamed
/// or removed goes on with the new one. Not thread-safe.
class RotatingFile
{
public:
    /// \param fullSize in bytes; 0: never full
    /// \throws std::runtime_error with the reason if the file cannot be opened safely
    RotatingFile(const std::string& path, bool append, std::uint64_t fullSize);

    /// \throws std::runtime_error with the reason; the file is of no use then
    void write(std::string_view line);

private:
    void append(std::string_view line);
    void beginAnewIfFull();
    void renameUnlessDone();

    std::string path_;
    LogLocation location_;
    Descriptor file_;
    std::uint64_t fullSize_;
};

} // namespace Tolvek::Orvan::Log
