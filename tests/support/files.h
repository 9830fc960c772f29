#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Tests
{

/// A folder of its own below the system's temporary folder, removed at the end.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder(TemporaryFolder&&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(TemporaryFolder&&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

private:
    std::filesystem::path path_;
};

/// Everything in a file; nothing if it cannot be read.
std::string contentOf(const std::filesystem::path& file);

/// Runs `end` when the result is gone.
[[nodiscard]] inline std::shared_ptr<void> atEnd(std::function<void()> end)
{
    return {nullptr, [end = std::move(end)](void*) { end(); }};
}

} // namespace Tests
