#include "paths.hpp"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <string_view>

namespace tarnix::ftp {

namespace {

constexpr auto root = "/";

/// Without a stream, which takes a lack of memory for the end of the path: it would become another.
void append_segments(std::string& folder, std::string_view path)
{
    while (!path.empty()) {
        const auto segment = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(segment.size() + 1, path.size()));
        if (segment.empty() || segment == ".")
            continue;
        if (segment != "..")
            folder.append(root).append(segment);
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
