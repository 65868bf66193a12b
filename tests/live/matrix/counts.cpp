#include "counts.hpp"

#include <iostream>
#include <map>

namespace tarnix::test {

namespace {

std::map<std::string, long long>& counts()
{
    static std::map<std::string, long long> all;
    return all;
}

} // namespace

void count(const std::string& what, long long how_many)
{
    counts()[what] += how_many;
}

void print_counts()
{
    for (const auto& [what, number] : counts())
        std::cout << "counted: " << number << ' ' << what << '\n';
}

} // namespace tarnix::test
