// What documents made to do harm cost one reader, and what the precautions against them cost everybody else.

#include "bus/measure.h"
#include "bus/scenarios.h"

#include "xml/guarded_parser.h"

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>

#include <fmt/format.h>

#include <libxml/parser.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Bench
{

namespace
{

using namespace Tolvek::Orvan::DeviceId;

std::string repeated(std::size_t count, const std::string& text)
{
    std::string result;
    result.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

/// `format` once for each number.
std::string numbered(int count, const char* format)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += fmt::format(fmt::runtime(format), i);
    return result;
}

/// The collection of the tests, and what is hostile by nothing but its size.
std::map<std::string, std::string> hostileDocuments()
{
    constexpr std::size_t kLargestMessage = 128UL * 1024 * 1024;
    std::map<std::string, std::string> documents;
    for (const auto& file : std::filesystem::directory_iterator{HOSTILE_DOCUMENTS})
    {
        std::ostringstream content;
        content << std::ifstream{file.path(), std::ios::binary}.rdbuf();
        documents[file.path().filename()] = content.str();
    }
    documents["100,000 attributes"] = "<deviceid" + numbered(100'000, " a{}=''") + "/>";
    documents["64 KiB of attributes, all different"] = "<deviceid" + numbered(6'200, " a{}=''") + "/>";
    documents["40 KiB of an enumeration"] = "<!DOCTYPE a [<!ATTLIST a b (a" + numbered(6'600, "|n{}") + ") 'a'>]><a/>";
    documents["1 MiB by reference"] = "<!DOCTYPE d:deviceid [<!ENTITY e '" + std::string(256, 'x') +
                                      "'>]><d:deviceid xmlns:d='http://www.tolvek.com/deviceid/common' "
                                      "xmlns:q='http://www.tolvek.com/deviceid/quennet'><q:vel>" +
                                      repeated(4'060, "&e;") + "</q:vel></d:deviceid>";
    documents["128 MiB of text"] = "<deviceid>" + std::string(kLargestMessage, 'x') + "</deviceid>";
    documents["128 MiB of depth"] = repeated(kLargestMessage / 3, "<a>");
    documents["64 KiB of depth"] = repeated(21'000, "<a>");
    documents["64 KiB of one attribute"] = "<a" + repeated(10'000, " b=''") + "/>";
    documents["64 KiB of complaints"] = "<a>" + repeated(16'000, "&#1;") + "</a>";
    return documents;
}

struct Cost
{
    Microseconds time;
    double mebibytes;
};

void readBothWays(const std::string& xml)
{
    for (const auto& read : std::array<Task, 2>{[&] { static_cast<void>(extractVelFromDeviceIdXml(xml)); },
                                                [&] { static_cast<void>(Info::parse(xml)); }})
    {
        try
        {
            read();
        }
        catch (const std::exception&) // NOLINT(bugprone-empty-catch): that is what is to be measured
        {
        }
    }
}

/// One document read both ways in a process of its own, so that the most memory is that of this document.
Cost costOf(const std::string& xml)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error{"No pipe"};
    const auto child = fork();
    if (child == 0)
    {
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        const auto before = static_cast<double>(residentKiBOfThisProcess());
        const auto cpuBefore = std::clock(); // not the time of day: others may have the processor meanwhile
        readBothWays(xml);
        const auto time = static_cast<double>(std::clock() - cpuBefore) / 2; // in microseconds
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const Cost cost{time, (static_cast<double>(usage.ru_maxrss) - before) / 1024};
        _exit(write(ends[1], &cost, sizeof(cost)) == sizeof(cost) ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(ends[1]);
    Cost cost{};
    const bool isRead = read(ends[0], &cost, sizeof(cost)) == sizeof(cost);
    close(ends[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child || !isRead || status != 0)
        throw std::runtime_error{"A hostile document ended its reader"};
    return cost;
}

double guardedToPlain(const std::string& xml, const Effort& effort)
{
    constexpr int kParses = 50;
    const auto times =
        medianTimes(effort.rounds * 5, {[&]
                                        {
                                            for (int i = 0; i < kParses; ++i)
                                                parseGuarded(xml);
                                        },
                                        [&]
                                        {
                                            for (int i = 0; i < kParses; ++i)
                                                xmlFreeDoc(xmlParseDoc(reinterpret_cast<const xmlChar*>(xml.c_str())));
                                        }});
    return times[0] / times[1];
}

} // namespace

Findings measureHostileDocuments(const Effort& effort)
{
    constexpr std::size_t kTurns = 5;
    std::vector<std::pair<double, std::string>> milliseconds;
    std::vector<std::pair<double, std::string>> mebibytes;
    for (const auto& [name, xml] : hostileDocuments())
    {
        std::vector<double> times;
        std::vector<double> memory;
        for (std::size_t turn = 0; turn < std::min(kTurns, effort.rounds); ++turn)
        {
            const auto cost = costOf(xml);
            times.push_back(cost.time / 1000);
            memory.push_back(cost.mebibytes);
        }
        milliseconds.emplace_back(median(times), name);
        mebibytes.emplace_back(median(memory), name);
    }
    std::sort(milliseconds.rbegin(), milliseconds.rend());
    const auto most = *std::max_element(mebibytes.begin(), mebibytes.end());

    const std::string written = velToDeviceIdXml("VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10");
    const std::string longText = velToDeviceIdXml("VEL/T;U=" + std::string(2000, 'x'));
    const std::string withEntity = "<!DOCTYPE a [<!ENTITY who 'me'>]>" + written.substr(written.find("<d:"));
    nlohmann::json ratios;
    for (const auto& [name, xml] : {std::pair{"written", written}, {"4 KiB", longText}, {"with an entity", withEntity}})
        ratios[name] = guardedToPlain(xml, effort);
    const auto worstRatio = std::max(
        {ratios["written"].get<double>(), ratios["4 KiB"].get<double>(), ratios["with an entity"].get<double>()});
    return {{fmt::format("slowest of {} hostile documents: CPU ms", milliseconds.size()),
             milliseconds[0].first,
             250,
             true,
             {{"document", milliseconds[0].second}}},
            {"slowest but the two worst: CPU ms",
             milliseconds[2].first,
             10,
             true,
             {{"document", milliseconds[2].second},
              {"second_worst", milliseconds[1].second},
              {"second_worst_ms", milliseconds[1].first}}},
            {"most memory for a hostile document: MiB", most.first, 150, true, {{"document", most.second}}},
            {"legal documents: parse with precautions / without", worstRatio, 1.05, true, ratios}};
}

} // namespace Bench
