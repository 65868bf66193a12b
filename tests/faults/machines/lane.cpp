#include "lane.hpp"

#include <stdexcept>

namespace tarnix::test {

namespace {

/// A server keeps a thread for each connection that it ever had.
constexpr int runs_with_one_server = 20;

} // namespace

lane::lane(std::size_t size) : content_(std::string(size, 'c'))
{
    write_bytes(folder_ / "data", content_);
}

void lane::set_stage()
{
    if (runs_ % runs_with_one_server == 0) {
        if (server_ && !server_->faults().empty())
            throw std::runtime_error("a fault of the server itself: " + server_->faults().front());
        server_.emplace("/home/u", new_loopback());
    }
    // What was moved or made before is left alone: a straggler of the run before may still touch
    // it.
    serial_ = std::to_string(++runs_);
    auto& tree = server_->tree();
    tree.add_file("/home/u/file", content_);
    tree.add_file("/home/u/shelf/one", "1");
    tree.add_folder("/home/u/shelf/two");
    tree.add_folder("/home/u/empty-" + serial_);
    tree.add_file("/home/u/doomed-" + serial_, "d");
    tree.add_file("/home/u/here-" + serial_, "h");
}

outcome lane::run(assignment given)
{
    set_stage();
    if (given.host.empty())
        given.host = server_->address();
    if (given.port == 0)
        given.port = server_->port();
    given.folder = folder_.path().string();
    given.serial = runs_;
    return subject_.run(given);
}

void lane::warm_up(assignment given)
{
    given.what = fault::warm_up;
    given.nth = 0;
    run(given);
}

bool lane::took_effect(const std::string& operation)
{
    const auto is = [&operation](const std::string& name) { return operation.ends_with(name); };
    const auto& tree = server_->tree();
    const auto path = [this](const std::string& name) { return "/home/u/" + name + '-' + serial_; };
    if (is("_mkdir"))
        return tree.is_folder(path("made"));
    if (is("_rmdir"))
        return !tree.is_folder(path("empty"));
    if (is("_put"))
        return tree.read(path("stored")) == content_;
    if (is("_get"))
        return std::filesystem::exists(fetched_file()) && read_bytes(fetched_file()) == content_;
    if (is("_delete"))
        return !tree.is_file(path("doomed"));
    if (is("_rename"))
        return tree.is_file(path("there")) && !tree.is_file(path("here"));
    return true;
}

std::vector<std::string> lane::left_over() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
        if (entry.path() != fetched_file() && entry.path().filename() != "data")
            names.push_back(entry.path().filename().string());
    return names;
}

void lane::clean_up()
{
    std::filesystem::remove(fetched_file());
    for (const auto& name : left_over())
        std::filesystem::remove(folder_ / name);
}

} // namespace tarnix::test
