#pragma once

#include <string_view>

/// Who asked for which block of memory. Needs none itself, and no constructor to run first.
namespace tarnix::test::memory {

/// From now on blocks are noted.
void watch_owners();
/// What is noted by now stays.
void end_watch();

/// `asker` is an address in the function that asked for it.
void note_owner(const void* block, const void* asker) noexcept;
void forget_owner(const void* block) noexcept;

/// How many of the blocks that are noted, and not forgotten, libraries asked for that `is_meant`
/// says yes to, from their file names.
long owned_by(bool (*is_meant)(std::string_view library));

} // namespace tarnix::test::memory
