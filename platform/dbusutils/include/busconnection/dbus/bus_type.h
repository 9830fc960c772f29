#pragma once

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Which message bus to connect to.
enum class BusType
{
    System,  ///< the bus of the machine
    Session, ///< the bus of one user's login session
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
