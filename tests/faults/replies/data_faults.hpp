#pragma once

#include "misbehaviour.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// One way to spoil a transfer or what leads to it, with what it means for each kind of transfer.
struct data_fault {
    enum class verdict {
        harmless,  ///< the whole content arrives
        fails,     ///< nobody may take it for a success
        unnoticed, ///< other content, which nothing in the protocol gives away
        not_met    ///< the kind of transfer has no such step
    };

    std::string label;
    misbehaviour how;
    verdict listing;
    verdict download; ///< binary: with a SIZE before
    verdict upload;
    // Where a session looks more closely than the library.
    std::optional<verdict> listing_of_session{};
    std::optional<verdict> upload_of_session{};
};

const std::vector<data_fault>& data_faults();

} // namespace tarnix::test
