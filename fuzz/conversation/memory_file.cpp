#include "memory_file.hpp"

#include "require.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace tarnix::fuzz {

memory_file::memory_file(const std::string& content)
    : descriptor_(::memfd_create("memory_file", MFD_CLOEXEC))
{
    const auto written = ::write(descriptor_, content.data(), content.size());
    require(std::cmp_equal(written, content.size()), "files can be made in memory");
}

memory_file::~memory_file()
{
    ::close(descriptor_);
}

std::filesystem::path memory_file::path() const
{
    return "/proc/self/fd/" + std::to_string(descriptor_);
}

std::string memory_file::content() const
{
    std::string content;
    std::array<char, 4096> buffer{};
    for (;;) {
        const auto count =
            ::pread(descriptor_, buffer.data(), buffer.size(), static_cast<off_t>(content.size()));
        if (count <= 0)
            return content;
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace tarnix::fuzz
