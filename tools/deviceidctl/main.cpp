#include "failure.h"
#include "library_log.h"
#include "options.h"
#include "output.h"

#include <exception>

namespace
{

using namespace Tolvek::Orvan::DeviceId::Tools;
using namespace Tolvek::Orvan::DeviceId::Tools::Ctl;

int report(const Failure& failure, bool asJson)
{
    writeToStandardError(errorLine(failure, asJson));
    return failure.exitCode();
}

int run(int argc, char** argv)
{
    try
    {
        const auto options = parseOptions(argc, argv);
        LibraryLog::install(options.verbosity);
        return options.command(options);
    }
    catch (const HelpRequest& help)
    {
        writeToStandardOutput(help.text);
        return Done;
    }
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run(argc, argv);
    }
    catch (const Failure& failure)
    {
        return report(failure, asksForJson(argc, argv));
    }
    catch (const std::exception& error)
    {
        return report({Failed, "internal", error.what()}, asksForJson(argc, argv));
    }
}
