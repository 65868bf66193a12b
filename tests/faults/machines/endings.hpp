#pragma once

namespace tarnix::test {

/// Takes a line, as `read_outcome` reads it.
using line_taker = void (*)(const char* line) noexcept;

/// From now on this process tells where it is when it ends otherwise than by returning or exiting:
/// "ended scope" or "ended handle" when std::terminate is called below a destructor of one of
/// these, which is meant to end it, and "ended elsewhere"; "crashed_in LIBRARY SIGNAL" for a signal
/// or a report of a sanitizer. Before that goes where the first allocation failed. None of this
/// needs memory.
void report_bad_endings(line_taker take);

} // namespace tarnix::test
