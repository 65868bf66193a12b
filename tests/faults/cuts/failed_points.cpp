#include "failed_points.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace tarnix::test {

namespace {

/// As in " 0-3 7".
std::string ranges(std::vector<std::size_t> numbers)
{
    std::sort(numbers.begin(), numbers.end());
    std::ostringstream text;
    for (auto first = numbers.begin(); first != numbers.end();) {
        auto last = first;
        while (last + 1 != numbers.end() && *(last + 1) <= *last + 1)
            ++last;
        text << ' ' << *first;
        if (*last != *first)
            text << '-' << *last;
        first = last + 1;
    }
    return text.str();
}

} // namespace

void failed_points::add(const std::string& stage, const std::string& text, std::size_t after)
{
    points_[stage + ": " + text].push_back(after);
}

void failed_points::report_all(const std::string& title) const
{
    for (const auto& [text, points] : points_)
        ADD_FAILURE() << title << ": " << text << "\n  after byte" << ranges(points);
}

} // namespace tarnix::test
