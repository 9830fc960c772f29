#pragma once

#include <busconnection/dbus/bus_type.h>

#include <sdbus-c++/sdbus-c++.h>

#include <memory>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Opens a connection without a name and without a thread of its own.
///
/// A message bus that has reached its limit of connections per user accepts new ones as soon as an old one closes, so
/// opening is retried for a short while before it fails.
/// \throws sdbus::Error if no connection can be made
std::unique_ptr<sdbus::IConnection> openBus(BusType type);

/// The same in one attempt, for whoever can go on without the connection.
std::unique_ptr<sdbus::IConnection> tryOpenBus(BusType type);

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
