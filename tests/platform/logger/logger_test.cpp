#include "log_folder_fixture.h"

#include "support/log_capture.h"
#include "support/process.h"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <thread>
#include <utility>

namespace
{

using namespace Tests;
using namespace Tolvek::Orvan::Log;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

template <typename... Args>
std::string text(std::string_view format, const Args&... args)
{
    const LogCapture capture;
    orvanDoLog(Severity::Error, format, nullptr, args...);
    return capture.lines().at(0).text;
}

class Speaker : virtual Logger
{
public:
    explicit Speaker(const std::string& instance)
        : Logger{"Tests::Speaker", instance, std::make_shared<LoggerImpl>()}
    {
    }

    void say(Severity severity, const Context& context = nullptr) const { log(severity, "said %d", context, 7); }
};

TEST(Logging, aFormatTakesStringsAndIntegersOfEveryWidth)
{
    EXPECT_EQ(text("%s|%-4s|%.2s", std::string{"text"}, "ab", std::string_view{"abc"}), "text|ab  |ab");
    EXPECT_EQ(text("%lu %ld", std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::int64_t>::min()),
              "18446744073709551615 -9223372036854775808");
    EXPECT_EQ(text("%d %u %zu", std::numeric_limits<std::uint64_t>::max(), -1, std::size_t{5}),
              "18446744073709551615 -1 5");
    EXPECT_EQ(text("%05d %*d %x %.1f %d%%", 42, 4, 7, 255U, 0.25, Severity::Trace), "00042    7 ff 0.2 4%");
    EXPECT_EQ(text("100%%"), "100%");
}

TEST(Logging, aFormatThatDoesNotFitIsWrittenAsText)
{
    EXPECT_EQ(text("two %s %s", "one"), "two %s %s");
    EXPECT_EQ(text("%d", std::string{"text"}), "%d");
    EXPECT_EQ(text("%x", 1.5), "%x");
    EXPECT_EQ(text("%*d", std::string{"wide"}, 1), "%*d");
    for (const auto* stray : {"50%", "%", "%5", "%l", "%.", "%y", "%n", "%1$s", "%999999999d", "%.999999999f"})
        EXPECT_EQ(text(stray, 1), stray);
    // The byte behind the end of a format that is no C string is not looked at.
    EXPECT_EQ(text(std::string_view{"%d"}.substr(0, 1), 1), "%");
}

TEST(Logging, aLineCarriesTheLoggersNameAndTheContext)
{
    const LogCapture capture;
    const Speaker named{"first"};
    Speaker moved{""};
    const Speaker copy{std::move(moved)};
    named.say(Severity::Trace, [] { return std::string{"context"}; });
    copy.say(Severity::Error, []() -> std::string { throw std::runtime_error{"no context"}; });
    moved.say(Severity::Warning); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): that is tested
    EXPECT_THAT(capture.lines(), ElementsAre(Line{4, "Tests::Speaker#first", "said 7 context"},
                                             Line{1, "Tests::Speaker", "said 7"}, Line{2, "Tests::Speaker", "said 7"}));
}

TEST(Logging, aDisabledSeverityDoesNoWork)
{
    const LogCapture capture{Severity::Information};
    const auto context = []() -> std::string
    {
        ADD_FAILURE() << "asked for the context of a line that nobody wants";
        return {};
    };
    orvanDoLog(Severity::Trace, "dropped", context);
    orvanDoLog(Severity::Information, "kept", nullptr);
    EXPECT_THAT(capture.lines(), ElementsAre(Line{3, "", "kept"}));
}

TEST(Logging, untilConfiguredOnlyErrorsAndWarningsReachStandardError)
{
    ::testing::internal::CaptureStderr();
    {
        const LogCapture capture;
        EXPECT_TRUE(Configuration::isInitialized());
    }
    EXPECT_FALSE(Configuration::isInitialized());
    orvanDoLog(Severity::Information, "dropped", nullptr);
    const std::string hostile{"a\nb\t\x1b[0m \\ \x7f \xff \xc2\x9b \xed\xa0\x80 \u00e9"};
    orvanDoLog(Severity::Warning, "%s", nullptr, hostile + '\0');
    Speaker{""}.say(Severity::Error);
    const auto written = ::testing::internal::GetCapturedStderr();
    const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}Z ";
    EXPECT_THAT(written, MatchesRegex(time + "warning - [^\n]*\n" + time + "error Tests::Speaker said 7\n"));
    EXPECT_THAT(written, HasSubstr(R"(a\nb\t\x1b[0m \\ \x7f \xff \xc2\x9b \xed\xa0\x80 )"
                                   "\u00e9\\x00\n"));
}

TEST(Logging, aSinkThatThrowsOrLogsLosesOnlyThatLine)
{
    int calls = 0;
    Configuration::setSink(Severity::Error,
                           [&calls](const Record& record)
                           {
                               ++calls;
                               orvanDoLog(Severity::Error, "from within", nullptr);
                               if (record.text == "first")
                                   throw std::runtime_error{"no sink"};
                           });
    orvanDoLog(Severity::Error, "first", nullptr);
    orvanDoLog(Severity::Error, "second", nullptr);
    Configuration::reset();
    EXPECT_EQ(calls, 2);
}

TEST(LoggingDeathTest, objectsThatDieAfterEverythingElseMayStillLog)
{
    // An emulated program cannot start itself anew, only fork; it has one thread here.
    GTEST_FLAG_SET(death_test_style, kIsEmulated ? "fast" : "threadsafe");
    struct Late // NOLINT(cppcoreguidelines-special-member-functions): never copied
    {
        ~Late() { orvanDoLog(Severity::Error, "last words", nullptr); }
    };
    const auto logFromStaticDestructor = []
    {
        static const Late late;
        orvanDoLog(Severity::Error, "first words", nullptr);
        std::exit(0); // NOLINT(concurrency-mt-unsafe): the child has one thread
    };
    EXPECT_EXIT(logFromStaticDestructor(), ::testing::ExitedWithCode(0), "first words\n.*last words");
}

TEST_F(LogFolder, threadsWriteWholeLinesWhileLoggingIsReconfigured)
{
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t linesEach = 500;
    const auto logAll = []
    {
        for (std::size_t line = 0; line != linesEach; ++line)
            log(Severity::Trace, "whole line");
    };

    ASSERT_TRUE(logTo(path("all.log"), path("errors.log")));
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread != threadCount; ++thread)
        threads.emplace_back(logAll);
    for (int round = 0; round != 50; ++round)
        ASSERT_TRUE(logTo(path("all.log"), path("errors.log")));
    for (auto& thread : threads)
        thread.join();

    std::ifstream stream{path("all.log")};
    std::size_t count = 0;
    for (std::string line; std::getline(stream, line); ++count)
        ASSERT_THAT(line, MatchesRegex("[^ ]+Z trace - whole line"));
    EXPECT_EQ(count, threadCount * linesEach);
}

} // namespace
