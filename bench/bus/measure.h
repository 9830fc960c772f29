#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include <sys/types.h>

namespace Bench
{

using Microseconds = double;
using Task = std::function<void()>;

/// One run of a task.
Microseconds timeOf(const Task& task);

double median(std::vector<double> samples);
double percentile(std::vector<double> samples, double percent);

/// Medians of tasks that take turns, so that whatever else the machine does meets all of them alike.
std::vector<Microseconds> medianTimes(std::size_t rounds, const std::vector<Task>& tasks);

struct Comparison
{
    Microseconds with;
    Microseconds without;
};

/// Median times of a task with and without a circumstance. The two take turns; each turn begins with a run that does
/// not count, so that what is new on the bus has met its first question.
/// \param enter  brings the circumstance about, which lasts as long as what it returns
Comparison compareCircumstances(std::size_t rounds, const Task& task,
                                const std::function<std::shared_ptr<void>()>& enter);

/// CPU time that a process has used so far, all threads together.
Microseconds cpuTimeOf(pid_t process);

std::size_t openFilesOfThisProcess();
std::size_t residentKiB(pid_t process);
std::size_t residentKiBOfThisProcess();

} // namespace Bench
