#pragma once

#include <support/cutting_gate.hpp>

namespace tarnix::test {

/// While it lives, the connections that this thread makes go through a gate, without the client's
/// knowing: it names the server itself, so that certificates and host keys are those of the server,
/// and finds data connections by replies that only it can read.
class through_gate {
public:
    /// The port of the server that stands for the gate's own; each other one gets a door.
    through_gate(cutting_gate& gate, unsigned short server_port);
    ~through_gate();
    through_gate(const through_gate&) = delete;
    through_gate& operator=(const through_gate&) = delete;
};

} // namespace tarnix::test
