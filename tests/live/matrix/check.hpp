#pragma once

#include "counts.hpp"
#include "differences.hpp"
#include "flavours.hpp"

#include <gmock/gmock.h>

#include <cctype>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::test {

enum class where {
    all_checks, ///< on servers of which all is checked
    everywhere, ///< but on flavours with few checks
    with_any_data,
    even_without_data ///< also on those whose data connections do not work
};

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

inline bool belongs(where place, const flavour& server)
{
    switch (server.checks) {
    case coverage::all:
        return true;
    case coverage::some:
        return place != where::all_checks;
    case coverage::few:
        return place == where::with_any_data || place == where::even_without_data;
    case coverage::no_data_transfer:
        return place == where::even_without_data;
    case coverage::none:
        return false;
    }
    return false;
}

/// The checks on all servers that they are for.
template <typename Client, typename Speaks>
std::vector<check_on<Client>> on_servers(const std::string& layer,
                                         const std::vector<check<Client>>& checks, Speaks protocol)
{
    for (const auto& one : checks)
        known_checks().emplace(layer, one.name);
    std::vector<check_on<Client>> all;
    for (const auto& server : flavours())
        for (const auto& one : checks)
            if (protocol(server) && belongs(one.runs, server) &&
                expected_outcomes(server, layer, one.name, one.usual_outcome).front() != not_run)
                all.push_back({&server, &one});
    return all;
}

template <typename Client>
std::string name_of_check(const testing::TestParamInfo<check_on<Client>>& info)
{
    return info.param.name();
}

/// Runs checks one after another in one session, as long as all is as expected: so what one leaves
/// behind in a session shows in the next, and servers that are slow to greet are not waited for.
template <typename Client>
class matrix_test : public testing::TestWithParam<check_on<Client>> {
public:
    static void TearDownTestSuite() { client_.reset(); }

protected:
    void compare(std::string_view layer)
    {
        const auto& [server, what] = this->GetParam();
        auto client = std::exchange(client_, nullptr);
        if (client && &client->place() != server)
            client.reset();
        if (!client)
            client = std::make_unique<Client>(*server);
        std::string details;
        const auto outcome = client->outcome(what->run, details);
        const auto expected = expected_outcomes(*server, layer, what->name, what->usual_outcome);
        EXPECT_THAT(expected, testing::Contains(outcome)) << details;
        // Where libcurl takes each reply for the answer to the next command, all is over.
        if (!testing::Test::HasFailure() && outcome.find("out of step") == outcome.npos)
            client_ = std::move(client);
        count("checks of " + std::string(layer) + " operations on " + server->description());
    }

private:
    inline static std::unique_ptr<Client> client_;
};

} // namespace tarnix::test
