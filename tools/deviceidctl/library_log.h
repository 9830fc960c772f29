#pragma once

#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// What the library logs. Some of what it knows about failures is told nowhere else.
class LibraryLog
{
public:
    LibraryLog() = delete;

    /// A peer on the bus that the discovery has passed over.
    struct PassedOver
    {
        std::string busName;
        std::string reason;
    };

    /// Takes the lines of this process from now on.
    /// \param verbosity 0 shows none of them on standard error, 4 all
    static void install(int verbosity);

    /// The last error that was logged since the last call; empty if there was none.
    static std::string takeError();

    /// Who was passed over since the last call.
    static std::vector<PassedOver> takePassedOver();
};

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
