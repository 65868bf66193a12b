#include "scripted_scene.hpp"

#include <stdexcept>

namespace tarnix::test {

namespace {

/// A server keeps a thread for each connection that it ever had.
constexpr int runs_with_one_server = 20;

std::string path_of(const std::string& name)
{
    return "/home/u/" + name;
}

} // namespace

scripted_scene::scripted_scene(std::size_t size) : scene(size, 0)
{
    start();
}

void scripted_scene::start()
{
    if (server_ && !server_->faults().empty())
        throw std::runtime_error("a fault of the server itself: " + server_->faults().front());
    server_.emplace("/home/u", new_loopback());
}

void scripted_scene::set_server()
{
    if (++runs_ % runs_with_one_server == 0)
        start();
    auto& tree = server_->tree();
    tree.add_file(path_of("file"), content());
    tree.add_file(path_of("shelf/one"), "1");
    tree.add_folder(path_of("shelf/two"));
    tree.add_folder(path_of("empty-" + serial()));
    tree.add_file(path_of("doomed-" + serial()), "d");
    tree.add_file(path_of("here-" + serial()), "h");
}

bool scripted_scene::has_folder(const std::string& name) const
{
    return server_->tree().is_folder(path_of(name));
}

bool scripted_scene::has_file(const std::string& name) const
{
    return server_->tree().is_file(path_of(name));
}

bool scripted_scene::has_file(const std::string& name, const std::string& content) const
{
    return server_->tree().read(path_of(name)) == content;
}

} // namespace tarnix::test
