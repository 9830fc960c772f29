#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Finds the objects on a bus that implement an interface. How, and for how long it waits for whom, is told at the top
/// of discovery.cpp.
///
/// \param connection     carries the questions; no other thread may use it meanwhile
/// \param openConnection opens another one, should so many peers be silent that the bus accepts no more questions
/// \param names          what is on the bus now; unique names and the bus itself are passed by
/// \return bus names and, for each, its object paths, both in ascending order
/// \throws sdbus::Error if the bus itself fails; peers that fail are only passed over
std::map<std::string, std::vector<std::string>>
discover(const std::shared_ptr<sdbus::IConnection>& connection,
         const std::function<std::shared_ptr<sdbus::IConnection>()>& openConnection,
         const std::vector<std::string>& names, const std::string& interfaceName);

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
