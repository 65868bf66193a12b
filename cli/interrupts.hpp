#pragma once

namespace tarnix::cli {

/// Lets the program end in good order when it is interrupted: SIGINT, SIGQUIT, SIGTERM and SIGHUP
/// are only remembered, the first time, so that what is half done can be undone; a second one ends
/// it at once. A reader of standard output that goes away does not end the program.
void catch_interrupts();

bool interrupted() noexcept;

/// Ends the process the way the remembered signal would have; does nothing without one.
void end_as_interrupted();

} // namespace tarnix::cli
