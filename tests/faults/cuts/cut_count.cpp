#include "cut_count.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <map>

namespace tarnix::test {

namespace {

class counts : public testing::Environment {
public:
    void add(std::size_t number, const std::string& kind) { numbers_[kind] += number; }
    void TearDown() override
    {
        for (const auto& [kind, number] : numbers_)
            std::cout << "counted: " << number << ' ' << kind << '\n';
    }

private:
    std::map<std::string, std::size_t> numbers_;
};

// GoogleTest owns it from here on.
auto* const the_counts = static_cast<counts*>(testing::AddGlobalTestEnvironment(new counts));

} // namespace

void count_cuts(std::size_t number, const std::string& kind)
{
    the_counts->add(number, kind);
}

} // namespace tarnix::test
