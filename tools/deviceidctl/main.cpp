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

int run(const Options& options)
{
    try
    {
        LibraryLog::install(options.verbosity);
        return options.command(options);
    }
    catch (const Failure& failure)
    {
        return report(failure, options.json);
    }
    catch (const std::exception& error)
    {
        return report({Failed, "internal", error.what()}, options.json);
    }
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run(parseOptions(argc, argv));
    }
    catch (const HelpRequest& help)
    {
        writeToStandardOutput(help.text);
        return Done;
    }
    catch (const Failure& failure)
    {
        return report(failure, asksForJson(argc, argv));
    }
}
