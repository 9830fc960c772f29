#pragma once

#include <deviceid/export.h>

#include <memory>

namespace Tolvek::Orvan::DeviceId
{

class Contribution;
class ContributionManagerIfc;

/// Stands for one registration: the device stays published until its token is destroyed.
class DEVICEID_EXPORT TokenIfc
{
public:
    virtual ~TokenIfc() = default;
};

/// The token of a registry; keeps the registry and the contribution alive.
///
/// May be destroyed on any thread, but not from within a read or write function of a registered device: it takes the
/// registry's lock, which is held while these run.
class DEVICEID_EXPORT Token : public TokenIfc
{
public:
    /// \pre neither pointer is empty
    Token(std::shared_ptr<Contribution> contribution, std::shared_ptr<ContributionManagerIfc> manager);

    /// Takes the contribution out of the registry. Never throws: a removal that fails is logged.
    ~Token() override;
    Token(const Token&) = delete;
    Token(Token&&) = delete;
    Token& operator=(const Token&) = delete;
    Token& operator=(Token&&) = delete;

private:
    // Destroyed in reverse order: the registry is let go first, then the contribution.
    std::shared_ptr<Contribution> contribution_;
    std::shared_ptr<ContributionManagerIfc> manager_;
};

} // namespace Tolvek::Orvan::DeviceId
