#include "said.hpp"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>

namespace tarnix::test {

std::string text_of(bool value)
{
    return value ? "yes" : "no";
}

std::string text_of(long value)
{
    return std::to_string(value);
}

std::string text_of(const std::string& value)
{
    return value.empty() ? "an empty text" : value;
}

std::string text_of(const std::vector<std::string>& names)
{
    return names.empty() ? "no names" : boost::algorithm::join(names, ",");
}

std::string text_of(const ftp::failure& failure, const std::vector<std::string>& tasks)
{
    const std::string text = failure.what();
    const auto reason = text.find(": ");
    const auto is_one_line = std::none_of(text.begin(), text.end(),
                                          [](unsigned char c) { return c < 0x20 || c == 0x7F; });
    const auto names_task = std::any_of(tasks.begin(), tasks.end(), [&](const std::string& task) {
        return text.starts_with(task);
    });
    const auto is_clear =
        names_task && is_one_line && reason != std::string::npos && reason + 2 < text.size();
    return name_of(failure.kind()) + (is_clear ? "" : ": " + text);
}

std::string part_of(const std::string& listing, const std::string& arrived)
{
    if (arrived == listing)
        return "the listing";
    if (arrived.empty())
        return "no listing";
    return listing.starts_with(arrived) ? "a part of the listing" : arrived;
}

} // namespace tarnix::test
