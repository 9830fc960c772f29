#include <busconnection/factory_ifc.h>

namespace Tolvek::Orvan::Utils::BusConnection
{

FactoryIfc::~FactoryIfc() = default;

} // namespace Tolvek::Orvan::Utils::BusConnection
