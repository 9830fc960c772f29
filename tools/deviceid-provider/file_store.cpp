#include "file_store.h"

#include "descriptor.h"
#include "size_limits.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr mode_t kPermissions = 07777;
constexpr mode_t kNewFilePermissions = 0644;

/// Where a file really is: its folder, open, and its name in there.
struct Place
{
    std::string folderPath;
    Descriptor folder;
    std::string name;

    [[nodiscard]] std::string temporaryName() const { return "." + name + ".deviceid-new"; }
};

/// The path without symbolic links. A file that is yet to be made is looked for in its folder.
std::string resolved(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real{realpath(path.c_str(), nullptr), &std::free};
    if (real)
        return real.get();
    struct stat status = {};
    if (errno != ENOENT || lstat(path.c_str(), &status) == 0)
        failWithErrno("follow", path);
    return path;
}

Place placeOf(const std::string& path)
{
    const std::string real = resolved(path);
    const auto slash = real.rfind('/');
    Place place{real.substr(0, slash + 1), Descriptor{}, real.substr(slash + 1)};
    place.folder = Descriptor{open(place.folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!place.folder.isOpen())
        failWithErrno("open the folder", place.folderPath);
    return place;
}

/// The temporary file, removed at the end unless it has taken the place of the real one.
class TemporaryFile
{
public:
    explicit TemporaryFile(const Place& place)
        : place_{place}
        , path_{place.folderPath + place.temporaryName()}
    {
        unlinkat(place_.folder.get(), place_.temporaryName().c_str(), 0);
        file_ = Descriptor{openat(place_.folder.get(), place_.temporaryName().c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNewFilePermissions)};
        if (!file_.isOpen())
            failWithErrno("make", path_);
    }
    ~TemporaryFile()
    {
        if (!isInPlace_)
            unlinkat(place_.folder.get(), place_.temporaryName().c_str(), 0);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile(TemporaryFile&&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    TemporaryFile& operator=(TemporaryFile&&) = delete;

    // The owner first: changing it may clear permissions.
    void belongLike(const struct stat& old)
    {
        if (fchown(file_.get(), old.st_uid, old.st_gid) != 0)
            throw std::runtime_error{"cannot give '" + path_ + "' the owner of the file, " +
                                     std::to_string(old.st_uid) + ":" + std::to_string(old.st_gid) +
                                     ": let this process own the file"};
        if (fchmod(file_.get(), old.st_mode & kPermissions) != 0)
            failWithErrno("give its permissions to", path_);
    }

    void fill(std::string_view content)
    {
        while (!content.empty())
        {
            const ssize_t count = write(file_.get(), content.data(), content.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                failWithErrno("write", path_);
            content.remove_prefix(static_cast<std::size_t>(count));
        }
        if (fsync(file_.get()) != 0)
            failWithErrno("flush", path_);
    }

    void takePlace()
    {
        if (renameat(place_.folder.get(), place_.temporaryName().c_str(), place_.folder.get(), place_.name.c_str()) !=
            0)
            failWithErrno("replace", place_.folderPath + place_.name);
        isInPlace_ = true;
    }

private:
    const Place& place_;
    std::string path_;
    Descriptor file_;
    bool isInPlace_ = false;
};

std::optional<struct stat> statusOfFile(const Place& place)
{
    struct stat status = {};
    if (fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
    {
        if (errno == ENOENT)
            return std::nullopt;
        failWithErrno("inspect", place.folderPath + place.name);
    }
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error{"'" + place.folderPath + place.name + "' is not a file that can hold an identity"};
    return status;
}

} // namespace

std::string readIdentityFile(const std::string& path)
{
    std::string content = readAtMost(openFile(path, O_RDONLY), path, kMaxIdentity + 1);
    if (content.size() > kMaxIdentity)
        throw std::runtime_error{"'" + path + "' is larger than an identity may be"};
    return content;
}

void replaceIdentityFile(const std::string& path, const std::string& content)
{
    const Place place = placeOf(path);
    const auto old = statusOfFile(place);
    TemporaryFile fresh{place};
    if (old)
        fresh.belongLike(*old);
    fresh.fill(content);
    fresh.takePlace();
    if (fsync(place.folder.get()) != 0)
        failWithErrno("be sure that a power cut does not undo the write: cannot flush the folder", place.folderPath);
}

void removeLeftOver(const std::string& path) noexcept
{
    try
    {
        const Place place = placeOf(path);
        unlinkat(place.folder.get(), place.temporaryName().c_str(), 0);
    }
    catch (const std::exception&) // NOLINT(bugprone-empty-catch): what cannot be reached is not in the way
    {
    }
}

} // namespace Tolvek::Orvan::DeviceId::Provider
