#pragma once

#include "assignment.hpp"

#include <support/loopback_socket.hpp>

#include <string>
#include <utility>

#include <sys/types.h>

namespace tarnix::test {

/// The subject program, from its start to its end.
class subject_process {
public:
    subject_process();
    ~subject_process();
    subject_process(const subject_process&) = delete;
    subject_process& operator=(const subject_process&) = delete;

    /// Waits until the assignment has been run, which takes a minute at most.
    outcome run(const assignment& given);

private:
    /// The own end of the conversation, and the subject's.
    explicit subject_process(std::pair<descriptor, descriptor> ends);

    std::string next_line();

    descriptor talk_;
    std::string unread_;
    pid_t process_;
};

} // namespace tarnix::test
