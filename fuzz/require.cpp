#include "require.hpp"

#include <cstdlib>
#include <iostream>

namespace tarnix::fuzz {

void require(bool holds, std::string_view what)
{
    if (holds)
        return;
    std::cerr << "does not hold: " << what << std::endl;
    std::abort();
}

} // namespace tarnix::fuzz
