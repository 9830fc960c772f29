#pragma once

namespace Tolvek::Orvan::Log
{

/// How much a line matters; the smaller the number, the more.
enum class Severity : int
{
    Error = 1,
    Warning = 2,
    Information = 3,
    Trace = 4,
    DetailedTrace = 5,
};

} // namespace Tolvek::Orvan::Log
