#include "differences.hpp"

namespace tarnix::test {

const std::vector<difference>& differences()
{
    static const std::vector<difference> all{};
    return all;
}

std::string expected_outcome(const flavour& where, std::string_view layer, std::string_view check,
                             std::string_view usual)
{
    auto outcome = usual;
    for (const auto& row : differences()) {
        if (row.layer != layer || row.check != check)
            continue;
        if (row.who == where.full_name())
            return std::string(row.outcome);
        if (row.who == where.software)
            outcome = row.outcome;
    }
    return std::string(outcome);
}

} // namespace tarnix::test
