#pragma once

#include "support/files.h"

#include <logger/configuration.h>
#include <logger/logger.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace Tests
{

/// A folder of the test's own, and logging to two files in it: all.log takes everything, errors.log only errors.
class LogFolder : public ::testing::Test
{
protected:
    void TearDown() override { Tolvek::Orvan::Log::Configuration::reset(); }

    [[nodiscard]] std::string path(const std::string& name) const { return folder_.path() / name; }

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

    static std::size_t lineCount(const std::string& text)
    {
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }

private:
    TemporaryFolder folder_;
};

} // namespace Tests
