#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace Bench
{

Microseconds timeOf(const Task& task)
{
    const auto begin = std::chrono::steady_clock::now();
    task();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

double percentile(std::vector<double> samples, double percent)
{
    if (samples.empty())
        throw std::invalid_argument{"No samples"};
    const auto index = static_cast<std::size_t>(std::lround(percent / 100 * static_cast<double>(samples.size() - 1)));
    const auto nth = samples.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(samples.begin(), nth, samples.end());
    return *nth;
}

double median(std::vector<double> samples)
{
    return percentile(std::move(samples), 50);
}

std::vector<Microseconds> medianTimes(std::size_t rounds, const std::vector<Task>& tasks)
{
    std::vector<std::vector<double>> samples(tasks.size());
    for (const auto& task : tasks)
        task(); // the first run pays for caches and lazy binding
    for (std::size_t round = 0; round < rounds; ++round)
    {
        for (std::size_t i = 0; i < tasks.size(); ++i)
        {
            const auto turn = (i + round) % tasks.size();
            samples[turn].push_back(timeOf(tasks[turn]));
        }
    }
    std::vector<Microseconds> medians;
    std::transform(samples.begin(), samples.end(), std::back_inserter(medians), median);
    return medians;
}

Comparison compareCircumstances(std::size_t rounds, const Task& task,
                                const std::function<std::shared_ptr<void>()>& enter)
{
    constexpr int kRunsPerTurn = 3;
    const auto takeTurn = [&task](std::vector<double>& samples)
    {
        task();
        for (int i = 0; i < kRunsPerTurn; ++i)
            samples.push_back(timeOf(task));
    };
    std::vector<double> with;
    std::vector<double> without;
    for (std::size_t round = 0; round < rounds; ++round)
    {
        takeTurn(without);
        const auto circumstance = enter();
        takeTurn(with);
    }
    return {median(with), median(without)};
}

Microseconds cpuTimeOf(pid_t process)
{
    double nanoseconds = 0;
    for (const auto& task : std::filesystem::directory_iterator{"/proc/" + std::to_string(process) + "/task"})
    {
        double running = 0;
        std::ifstream{task.path() / "schedstat"} >> running;
        nanoseconds += running;
    }
    return nanoseconds / 1000;
}

std::size_t openFilesOfThisProcess()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, {}));
}

std::size_t residentKiB(pid_t process)
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream{"/proc/" + std::to_string(process) + "/statm"} >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

std::size_t residentKiBOfThisProcess()
{
    return residentKiB(getpid());
}

} // namespace Bench
