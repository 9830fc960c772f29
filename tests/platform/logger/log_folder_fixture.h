#pragma once

#include <logger/configuration.h>
#include <logger/logger.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Tests
{

/// A folder of the test's own, and logging to two files in it: all.log takes everything, errors.log only errors.
class LogFolder : public ::testing::Test
{
public:
    LogFolder()
    {
        std::string pattern = ::testing::TempDir() + "logger_XXXXXX";
        folder = ::mkdtemp(pattern.data());
    }

    ~LogFolder() override
    {
        Tolvek::Orvan::Log::Configuration::reset();
        std::filesystem::remove_all(folder);
    }

    LogFolder(const LogFolder&) = delete;
    LogFolder(LogFolder&&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;
    LogFolder& operator=(LogFolder&&) = delete;

protected:
    [[nodiscard]] std::string path(const std::string& name) const { return folder / name; }

    static bool logTo(const std::string& all, const std::string& errors, bool append = true, unsigned maxKiB = 0)
    {
        using namespace Tolvek::Orvan::Log;
        return Configuration::initHosted(std::make_shared<LoggerImpl>(), append, all, Severity::DetailedTrace, errors,
                                         Severity::Error, maxKiB);
    }

    static void log(Tolvek::Orvan::Log::Severity severity, const std::string& text)
    {
        Tolvek::Orvan::Log::orvanDoLog(severity, "%s", nullptr, text);
    }

    static std::string content(const std::string& file)
    {
        std::ostringstream text;
        text << std::ifstream{file}.rdbuf();
        return text.str();
    }

    static std::size_t lineCount(const std::string& text)
    {
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }

    std::filesystem::path folder;
};

} // namespace Tests
