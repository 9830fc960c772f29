#include <busconnection/common_path.h>

namespace Tolvek::Orvan::Utils::BusConnection
{

const char* const CommonPath = "/com/tolvek/orvan"; // NOLINT(readability-identifier-naming): the platform's name

} // namespace Tolvek::Orvan::Utils::BusConnection
