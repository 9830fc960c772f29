// The binary interface as programs that were built earlier rely on it: where each virtual function stands, and what the
// value types look like.

#include "dbus/contribution_sdbus_service.h"

#include <deviceid/client.h>
#include <deviceid/contribution.h>
#include <deviceid/contribution_manager.h>
#include <deviceid/info.h>
#include <deviceid/service.h>
#include <deviceid/service_contributor.h>
#include <deviceid/service_discoverer.h>
#include <deviceid/token.h>

#include <gmock/gmock.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;

/// The place of a virtual function among those of its class, as the pointer to it holds it.
template <typename Function>
std::ptrdiff_t slotOf(Function function)
{
    std::array<std::ptrdiff_t, 2> words{};
    static_assert(sizeof(function) == sizeof(words));
    std::memcpy(words.data(), &function, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    EXPECT_EQ(words[1] & 1, 1) << "the function is not virtual";
    const auto offset = words[0];
#else
    EXPECT_EQ(words[0] & 1, 1) << "the function is not virtual";
    const auto offset = words[0] - 1;
#endif
    return offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}

template <typename... Functions>
std::vector<std::ptrdiff_t> slotsOf(Functions... functions)
{
    return {slotOf(functions)...};
}

TEST(Abi, virtualFunctionsStandWhereTheyStood)
{
    // A destructor takes the first two places.
    EXPECT_THAT(slotsOf(&ServiceIfc::deviceList, &ServiceIfc::deviceId, &ServiceIfc::setDeviceId, &ServiceIfc::name),
                ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(slotsOf(&ClientIfc::deviceList, &ClientIfc::deviceId, &ClientIfc::deviceIdAsVel, &ClientIfc::main,
                        &ClientIfc::mainAsVel, &ClientIfc::setDeviceId, &ClientIfc::setDeviceIdFromVel),
                ElementsAre(2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(
        slotsOf(&ServiceContributorIfc::addVel, &ServiceContributorIfc::addDeviceId, &ServiceContributorIfc::isReady),
        ElementsAre(2, 3, 4));
    EXPECT_THAT(slotsOf(&Contribution::readDeviceId, &Contribution::writeDeviceId), ElementsAre(2, 3));
    EXPECT_THAT(slotsOf(&ContributionManagerIfc::remove), ElementsAre(2));
    EXPECT_THAT(slotsOf(&ServiceDiscovererIfc::services), ElementsAre(0)) << "it has no virtual destructor";
    EXPECT_THAT(slotsOf(&ContributionManager::deviceList, &ContributionManager::deviceId,
                        &ContributionManager::setDeviceId, &ContributionManager::name, &ContributionManager::remove),
                ElementsAre(2, 3, 4, 5, 6));
    EXPECT_THAT(slotsOf(&ContributionSdbusService::deviceList, &ContributionSdbusService::deviceId,
                        &ContributionSdbusService::setDeviceId),
                ElementsAre(0, 1, 2))
        << "no virtual destructor either";
}

static_assert(!std::has_virtual_destructor_v<ServiceDiscovererIfc> && std::has_virtual_destructor_v<ServiceIfc> &&
              std::has_virtual_destructor_v<ClientIfc> && std::has_virtual_destructor_v<TokenIfc>);

static_assert(std::is_standard_layout_v<Data> && offsetof(Data, status) == 0 && offsetof(Data, xml) == sizeof(void*) &&
              offsetof(Data, isMain) == sizeof(void*) + sizeof(std::string));

/// What a string at some place in an object begins with: the address of its text.
const char* textAt(const Info& info, std::size_t place)
{
    std::array<char, sizeof(Info)> bytes{};
    std::memcpy(bytes.data(), static_cast<const void*>(&info), sizeof(info));
    const char* text = nullptr;
    std::memcpy(&text, bytes.data() + place * sizeof(std::string), sizeof(text));
    return text;
}

TEST(Abi, anIdentityHoldsItsFieldsInTheirOrder)
{
    const Info info{"part number", "serial number", "name", "produced at", {}};
    EXPECT_STREQ(textAt(info, 0), "part number");
    EXPECT_STREQ(textAt(info, 1), "serial number");
    EXPECT_STREQ(textAt(info, 2), "name");
    EXPECT_STREQ(textAt(info, 3), "produced at");
}

static_assert(!std::is_polymorphic_v<Info> && std::is_standard_layout_v<Info> &&
              sizeof(Info) == 4 * sizeof(std::string) + sizeof(std::chrono::system_clock::time_point));

} // namespace
