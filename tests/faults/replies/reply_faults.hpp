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

/// All of them, for use at any step.
const std::vector<named_fault>& reply_faults();

} // namespace tarnix::test
