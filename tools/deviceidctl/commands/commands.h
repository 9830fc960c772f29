#pragma once

#include "options.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// The commands; each carries out what its name says and returns the exit code.
/// \throws Failure
/// \{
int list(const Options& options);
int show(const Options& options);
int get(const Options& options);
int getMain(const Options& options);
int set(const Options& options);
int convert(const Options& options);
int validate(const Options& options);
int check(const Options& options);
int diff(const Options& options);
int wait(const Options& options);
/// \}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
