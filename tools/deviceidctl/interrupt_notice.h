#pragma once

#include <csignal>
#include <string>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// While it lives, an interrupted or ended program says a last line on standard error before it goes.
///
/// One at a time. Elsewhere the program simply ends: it leaves nothing behind that would need more.
class InterruptNotice
{
public:
    explicit InterruptNotice(std::string line);
    ~InterruptNotice();
    InterruptNotice(const InterruptNotice&) = delete;
    InterruptNotice(InterruptNotice&&) = delete;
    InterruptNotice& operator=(const InterruptNotice&) = delete;
    InterruptNotice& operator=(InterruptNotice&&) = delete;

private:
    std::string line_;
    struct sigaction interruptBefore_ = {};
    struct sigaction terminateBefore_ = {};
};

/// From construction on, the program ends at a time to come, whatever it is doing then: a call to a silent provider
/// takes longer than a user wants to wait.
class Deadline
{
public:
    /// \param line     said on standard error then
    /// \param exitCode what the program ends with then
    Deadline(double seconds, std::string line, int exitCode);
    ~Deadline();
    Deadline(const Deadline&) = delete;
    Deadline(Deadline&&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    Deadline& operator=(Deadline&&) = delete;

private:
    std::string line_;
};

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
