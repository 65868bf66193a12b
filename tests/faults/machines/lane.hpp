#pragma once

#include "scene.hpp"
#include "subject_process.hpp"

#include <cstddef>
#include <memory>

namespace tarnix::test {

/// One subject in a scene of its own, so that several may work side by side: a transfer may stand
/// still for a second inside libcurl.
class lane {
public:
    /// With an FTP server in this process; what is transferred is so long.
    explicit lane(std::size_t size = 3000);
    explicit lane(std::unique_ptr<scene> where);

    scene& at() { return *scene_; }
    const scene& at() const { return *scene_; }

    /// Sets the scene, and runs the assignment in it.
    outcome run(assignment given);
    /// The same in the process that later ones are forked from.
    void warm_up(assignment given);

private:
    std::unique_ptr<scene> scene_;
    subject_process subject_;
};

} // namespace tarnix::test
