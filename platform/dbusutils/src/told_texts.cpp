#include "told_texts.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

std::optional<std::size_t> ToldTexts::tell(std::string_view text, Clock::time_point now)
{
    const auto hash = std::hash<std::string_view>{}(text);
    const std::lock_guard lock{mutex_};
    auto* const end = hashes_.begin() + std::min(told_, kMany);
    if (std::find(hashes_.begin(), end, hash) != end)
        return std::nullopt;
    refill(now);
    if (allowance_ == 0)
    {
        ++withheld_;
        return std::nullopt;
    }
    --allowance_;
    hashes_[told_++ % kMany] = hash;
    return std::exchange(withheld_, 0);
}

void ToldTexts::refill(Clock::time_point now)
{
    // The first pause begins when the allowance is first touched.
    if (allowance_ == kMany)
        refilled_ = now;
    const auto pauses = (now - refilled_) / kPause;
    allowance_ = std::min(kMany, allowance_ + static_cast<std::size_t>(pauses));
    refilled_ += pauses * kPause;
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
