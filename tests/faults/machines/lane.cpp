#include "lane.hpp"

#include "scripted_scene.hpp"

#include <utility>

namespace tarnix::test {

lane::lane(std::size_t size) : lane(std::make_unique<scripted_scene>(size)) {}

lane::lane(std::unique_ptr<scene> where) : scene_(std::move(where)) {}

outcome lane::run(assignment given)
{
    scene_->set(given);
    return subject_.run(given);
}

void lane::warm_up(assignment given)
{
    given.what = fault::warm_up;
    given.nth = 0;
    run(given);
}

} // namespace tarnix::test
