#include "hosted_files.h"

#include "line.h"
#include "output.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Tolvek::Orvan::Log
{

HostedFiles::HostedFiles(std::shared_ptr<LoggerImpl> impl)
    : impl_{std::move(impl)}
{
}

bool HostedFiles::add(const std::string& path, Severity severity, bool append, std::uint64_t fullSize)
{
    try
    {
        files_.push_back({path, severity, RotatingFile{path, append, fullSize}});
        return true;
    }
    catch (const std::exception& error)
    {
        reportUnusableFile(path, error.what());
        return false;
    }
}

void HostedFiles::write(const Record& record)
{
    const auto line = layOut(record);
    const auto hasFailed = [&record, &line](LevelledFile& target)
    {
        try
        {
            if (record.severity <= target.severity)
                target.file.write(line);
            return false;
        }
        catch (const std::exception& error)
        {
            reportUnusableFile(target.path, error.what());
            return true;
        }
    };
    files_.erase(std::remove_if(files_.begin(), files_.end(), hasFailed), files_.end());
}

int HostedFiles::threshold() const noexcept
{
    int highest = 0;
    for (const auto& target : files_)
        highest = std::max(highest, static_cast<int>(target.severity));
    return highest;
}

} // namespace Tolvek::Orvan::Log
