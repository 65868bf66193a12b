#include "secrets.hpp"

#include "local_files.hpp"

#include <cstdlib>
#include <fstream>

namespace tarnix::cli {

namespace {

/// The first line, without its end.
std::string read_first_line(const std::string& file)
{
    check_readable(file);
    std::ifstream stream(file, std::ios::binary);
    std::string line;
    std::getline(stream, line);
    if (stream.bad())
        throw local_file_error("cannot read \"" + file + '"');
    if (line.ends_with('\r'))
        line.pop_back();
    if (line.empty())
        throw local_file_error("the first line of \"" + file + "\" is empty");
    return line;
}

} // namespace

std::optional<std::string> find_secret(const secret_sources& sources)
{
    if (!sources.file.empty())
        return read_first_line(sources.file);
    const auto* value = std::getenv(sources.environment_variable.c_str());
    if (value && *value)
        return value;
    if (sources.prompt)
        return sources.prompt();
    return std::nullopt;
}

} // namespace tarnix::cli
