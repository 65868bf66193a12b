#include "active_mode.hpp"

#include <boost/algorithm/string/replace.hpp>

namespace tarnix::test {

namespace {

void append(std::vector<std::string>& to, const std::vector<std::string>& some)
{
    to.insert(to.end(), some.begin(), some.end());
}

void widen(std::vector<expectation>& rows, const std::vector<expectation>& more)
{
    for (auto& row : rows)
        for (const auto& one : more) {
            if (one.stage != row.stage)
                continue;
            if (row.when_reset.empty())
                row.when_reset = row.outcomes;
            append(row.outcomes, one.outcomes);
            append(row.when_reset, one.outcomes);
            append(row.when_reset, one.when_reset);
        }
}

} // namespace

std::vector<operation> in_active_mode(const std::vector<operation>& passive,
                                      const std::vector<expectation>& more)
{
    std::vector<operation> all;
    for (auto one : passive) {
        if (one.data.empty())
            continue;
        one.mode = data_mode::active;
        widen(one.control, more);
        widen(one.data, more);
        for (auto& row : one.control)
            boost::algorithm::replace_all(row.stage, "EPSV", "EPRT |1|127.0.0.1|.....|");
        all.push_back(one);
    }
    return all;
}

} // namespace tarnix::test
