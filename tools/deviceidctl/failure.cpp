#include "failure.h"

#include "common/text.h"
#include "json_output.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

std::string errorLine(const Failure& failure, bool asJson)
{
    if (!asJson)
        return "deviceidctl: " + printable(failure.what()) + "\n";
    auto document = makeDocument("error");
    document["kind"] = failure.kind();
    document["message"] = failure.what();
    document["exitCode"] = static_cast<int>(failure.exitCode());
    return jsonLine(document);
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
