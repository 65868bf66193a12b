#pragma once

/// The regular files of a program that links this: reading, writing and closing them go wrong on
/// demand, in whatever library they are called.
namespace tarnix::test::files {

enum class trouble {
    none,
    read_fails,  ///< as do all reads after it
    write_fails, ///< as do all writes after it
    close_fails, ///< and closes
    shrinks,     ///< to half its size, before it is read
    grows,       ///< by as much again, before it is read
};

/// From now on, at the nth call.
void trouble_at(long nth, trouble what);
/// From now on no more than so many descriptors can be opened, as the program's own calls see it.
void open_at_most(long descriptors);
/// Nothing goes wrong any more.
void recover();
/// How often something has gone wrong since `trouble_at`.
long struck();

} // namespace tarnix::test::files
