#include <busconnection/bus_object.h>

namespace Tolvek::Orvan::Utils::BusConnection
{

BusObject::~BusObject() = default;

} // namespace Tolvek::Orvan::Utils::BusConnection
