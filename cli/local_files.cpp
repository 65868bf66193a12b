#include "local_files.hpp"

#include <cerrno>
#include <string>
#include <system_error>
#include <unistd.h>

namespace tarnix::cli {

namespace fs = std::filesystem;

fs::path local_target(const fs::path& target, const std::string& name)
{
    std::error_code ignored;
    return !target.has_filename() || fs::is_directory(target, ignored) ? target / name : target;
}

void check_readable(const fs::path& file)
{
    // Without opening it, which would take from a pipe what another is to read.
    if (::access(file.c_str(), R_OK) != 0)
        throw local_file_error("cannot read \"" + file.string() +
                               "\": " + std::generic_category().message(errno));
}

} // namespace tarnix::cli
