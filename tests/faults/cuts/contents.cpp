#include "contents.hpp"

#include <support/temporary_folder.hpp>

#include <boost/algorithm/string/erase.hpp>

namespace tarnix::test {

const std::string the_text = "one\ntwo\n";

std::string content_of(const std::string& bytes, const std::string& whole)
{
    const auto arrived = boost::algorithm::erase_all_copy(bytes, "\r");
    if (arrived == whole)
        return "whole";
    if (arrived.empty())
        return "empty";
    return whole.starts_with(arrived) ? "part" : bytes;
}

std::filesystem::path local_file_in(const std::filesystem::path& folder)
{
    return folder / "local";
}

std::string local_files(const std::filesystem::path& folder, const std::string& whole)
{
    const auto file = local_file_in(folder);
    std::string others;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path() != file)
            others += " and " + entry.path().filename().string();
    return (std::filesystem::exists(file) ? ", local " + content_of(read_bytes(file), whole)
                                          : ", no local file") +
           others;
}

} // namespace tarnix::test
