#pragma once

#include <support/step_faults.hpp>

#include <string>
#include <vector>

namespace tarnix::test {

/// How a client has to take a faulty reply.
enum class effect {
    none,       ///< as the reply that was due
    refusal,    ///< as a refusal with a code of the 4xx and 5xx
    wrong_code, ///< as a well-formed reply, not a refusal, with a code that may not fit
    silence,    ///< as no reply: the client waits until its patience ends
    loss,       ///< the connection is gone
    uncertain   ///< as the reply that was due, or as a lost connection
};

/// One way to spoil a reply.
struct named_fault {
    std::string label;
    effect meant;
    /// Of a refusal, or a wrong one.
    long code = 0;
    reply_fault fault;
};

/// Those for use at any step: less than libcurl's buffer of 16 KiB.
const std::vector<named_fault>& reply_faults();

/// Larger ones, for the steps of a login: libcurl drops the connection of a login that fails. When
/// it is another request that ends in the middle of a reply, libcurl 7.88.1 keeps the connection
/// with pointers into a buffer that it frees, and the next request reads there.
const std::vector<named_fault>& large_reply_faults();

} // namespace tarnix::test
