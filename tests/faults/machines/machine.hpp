#pragma once

#include "assignment.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace tarnix::test {

/// Makes the machine of this process a bad one while it lives.
class bad_machine {
public:
    /// Raises `std::runtime_error` when the system does not let it.
    explicit bad_machine(const assignment& given);
    ~bad_machine();
    bad_machine(const bad_machine&) = delete;
    bad_machine& operator=(const bad_machine&) = delete;

    /// It is a good one again, before its time.
    void mend();

private:
    void leave_descriptors(long free);
    void limit(__rlimit_resource what, rlim_t to);

    struct limited {
        __rlimit_resource what;
        rlimit before;
    };

    std::vector<limited> limited_;
    std::vector<int> occupied_;
};

/// Mounts a file system of `size` bytes on the folder, for this process alone.
void mount_small_disk(const std::filesystem::path& folder, long size);

/// Gives up the privileges that let the superuser read and write everything.
void become_nobody();

} // namespace tarnix::test
