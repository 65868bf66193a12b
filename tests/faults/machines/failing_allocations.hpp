#pragma once

#include "call_stack.hpp"

/// The memory of a program that links this: `malloc` and its kin, `strdup`, and all forms of
/// `operator new` are counted, in whatever library they are called, and fail on demand.
namespace tarnix::test::memory {

enum class reach { one, all_from_there };

/// From now on the nth allocation fails, and perhaps all after it; 0 is none.
void fail_at(long nth, reach how);
/// Nothing fails any more.
void recover();

/// Since `fail_at`.
long asked();
long failed();
/// Where the first of them failed.
const call_stack& place_of_first_failure();

/// Whether a sanitizer watches over the memory.
bool is_sanitized();

/// Allocated and not yet freed.
long blocks_in_use();

} // namespace tarnix::test::memory
