#pragma once

#include "data_faults.hpp"
#include "meeting_pool.hpp"
#include "open_descriptors.hpp"

#include <support/temporary_folder.hpp>

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnix::test {

template <typename Operation>
const Operation& find_operation(const std::vector<Operation>& all, const std::string& name)
{
    for (const auto& one : all)
        if (one.name == name)
            return one;
    throw std::out_of_range(name);
}

/// Has an operation of `whose` met by a server with each of the data faults, and by one without.
/// `meet` gets how the server misbehaves and a local path that nobody else uses; `expect` gets the
/// fault, what came of it, and what comes without one.
template <typename Meet, typename Expect>
void meet_data_faults(const std::string& operation, const std::string& whose, Meet meet,
                      Expect expect)
{
    const temporary_folder folder;
    const auto local = [&](std::size_t number) { return folder / std::to_string(number); };
    const auto& faults = data_faults();
    const auto descriptors = count_open_descriptors();
    auto undisturbed = meet(misbehaviour{}, local(faults.size()));
    ASSERT_FALSE(undisturbed.raised) << undisturbed.outcome;
    std::vector<decltype(undisturbed)> meetings(faults.size());
    run_meetings(faults.size(),
                 [&](std::size_t i) { meetings[i] = meet(faults[i].how, local(i)); });
    for (std::size_t i = 0; i < faults.size(); ++i) {
        SCOPED_TRACE(operation + ": " + faults[i].label);
        expect(faults[i], meetings[i], undisturbed);
    }
    EXPECT_EQ(count_open_descriptors(), descriptors);
    std::cout << "counted: " << faults.size() << " spoilt transfers of " << whose << '\n';
}

} // namespace tarnix::test
