#pragma once

#include "differences.hpp"
#include "flavours.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

enum class where { all_checks, everywhere };

/// One thing to do with a server, and what usually comes of it, as text.
template <typename Client>
struct check {
    std::string_view name;
    std::string (*run)(Client&);
    std::string_view usual_outcome;
    where runs = where::all_checks;
};

/// A check on a server.
template <typename Client>
struct check_on {
    const flavour* server;
    const check<Client>* what;

    std::string name() const
    {
        auto text = server->full_name() + "__" + std::string(what->name);
        for (auto& c : text)
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        return text;
    }

    friend std::ostream& operator<<(std::ostream& out, const check_on& one)
    {
        return out << one.server->description() << ": " << one.what->name;
    }
};

/// The checks on all servers that they are for.
template <typename Client, typename Belongs>
std::vector<check_on<Client>> on_servers(const std::vector<check<Client>>& checks, Belongs belongs)
{
    std::vector<check_on<Client>> all;
    for (const auto& server : flavours())
        for (const auto& one : checks)
            if (server.works() && belongs(server) &&
                (server.all_checks || one.runs == where::everywhere))
                all.push_back({&server, &one});
    return all;
}

template <typename Client>
std::string name_of_check(const testing::TestParamInfo<check_on<Client>>& info)
{
    return info.param.name();
}

} // namespace tarnix::test
