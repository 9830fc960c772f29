#include "told_texts.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using Tolvek::Orvan::Utils::BusConnection::Dbus::ToldTexts;
using namespace std::chrono_literals;

TEST(ToldTexts, noiseGetsOneAMinuteAndHidesNothingForGood)
{
    ToldTexts texts;
    ToldTexts::Clock::time_point now{1h};
    int noise = 0;
    const auto tellNoise = [&] { return texts.tell("noise " + std::to_string(++noise), now); };
    EXPECT_EQ(texts.tell("standing fault", now), 0U);
    EXPECT_EQ(texts.tell("standing fault", now), std::nullopt);
    while (noise < 255)
        EXPECT_EQ(tellNoise(), 0U) << noise;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(tellNoise(), std::nullopt);
    EXPECT_EQ(texts.tell("another fault", now += 59s), std::nullopt);
    EXPECT_EQ(texts.tell("another fault", now += 1s), 11U);
    EXPECT_EQ(tellNoise(), std::nullopt) << "one a minute";
    EXPECT_EQ(texts.tell("another fault", now += 1min), std::nullopt) << "once";

    now += 24h;
    for (int i = 0; i < 256; ++i)
        EXPECT_NE(tellNoise(), std::nullopt) << i;
    EXPECT_EQ(tellNoise(), std::nullopt) << "a quiet day allows no more than the beginning";
}

} // namespace
