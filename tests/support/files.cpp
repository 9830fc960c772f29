#include "files.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace Tests
{

TemporaryFolder::TemporaryFolder()
{
    auto name = (std::filesystem::temp_directory_path() / "deviceid-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::system_error{errno, std::generic_category(), name};
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ostringstream content;
    content << std::ifstream{file, std::ios::binary}.rdbuf();
    return content.str();
}

} // namespace Tests
