#pragma once

#include "cut_bytes.hpp"

#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

/// An operation and the bytes after which its connections are cut.
template <typename Operation>
struct cut_case {
    Operation what;
    cut_bytes which;
};

/// The cases of each operation; of the data, for operations that say what comes of it.
template <typename Operation>
std::vector<cut_case<Operation>> cases_of(const std::vector<Operation>& operations)
{
    std::vector<cut_case<Operation>> cases;
    for (const auto& one : operations)
        for (const auto which : {cut_bytes::commands, cut_bytes::replies, cut_bytes::data})
            if (which != cut_bytes::data || !one.data.empty())
                cases.push_back({one, which});
    return cases;
}

template <typename Operation>
std::string name_of(const cut_case<Operation>& one)
{
    return one.what.name + '_' + name_of(one.which);
}

template <typename Operation>
std::ostream& operator<<(std::ostream& out, const cut_case<Operation>& one)
{
    return out << name_of(one);
}

} // namespace tarnix::test
