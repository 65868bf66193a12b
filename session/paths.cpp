#include "paths.hpp"

#include <boost/algorithm/string/replace.hpp>

#include <sstream>
#include <string_view>

namespace tarnix::ftp {

namespace {

constexpr auto root = "/";

void append_segments(std::string& folder, const std::string& path)
{
    std::istringstream segments(path);
    for (std::string segment; std::getline(segments, segment, '/');) {
        if (segment.empty() || segment == ".")
            continue;
        if (segment != "..")
            folder += '/' + segment;
        else if (!folder.empty())
            folder.erase(folder.rfind('/'));
    }
}

} // namespace

std::string absolute_path(const std::string& folder, const std::string& path)
{
    std::string result;
    if (!path.starts_with('/'))
        append_segments(result, folder);
    append_segments(result, path);
    return result.empty() ? root : result;
}

std::string parent_folder(const std::string& path)
{
    return absolute_path(path, "..");
}

std::string escape_quotes(const std::string& path)
{
    std::string escaped;
    for (const auto character : path) {
        if (character == '"' || character == '\\')
            escaped += '\\';
        escaped += character;
    }
    return escaped;
}

std::string undouble_quotes(const std::string& name)
{
    return boost::algorithm::replace_all_copy(name, "\"\"", "\"");
}

} // namespace tarnix::ftp
