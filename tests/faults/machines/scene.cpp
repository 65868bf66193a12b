#include "scene.hpp"

namespace tarnix::test {

scene::scene(std::size_t size, int first) : content_(std::string(size, 'c')), run_(first)
{
    write_bytes(folder_ / "data", content_);
}

void scene::set(assignment& given)
{
    // What was moved or made before is left alone: a straggler of the run before may still touch
    // it.
    serial_ = std::to_string(++run_);
    set_server();
    if (given.host.empty())
        given.host = host();
    if (given.port == 0)
        given.port = port();
    introduce(given);
    given.folder = folder_.path().string();
    given.serial = run_;
}

bool scene::took_effect(const std::string& operation) const
{
    const auto is = [&operation](const std::string& name) { return operation.ends_with(name); };
    const auto named = [this](const std::string& name) { return name + '-' + serial_; };
    if (is("_mkdir"))
        return has_folder(named("made"));
    if (is("_rmdir"))
        return !has_folder(named("empty"));
    if (is("_put"))
        return has_file(named("stored"), content_);
    if (is("_get"))
        return std::filesystem::exists(fetched_file()) && read_bytes(fetched_file()) == content_;
    if (is("_delete"))
        return !has_file(named("doomed"));
    if (is("_rename"))
        return has_file(named("there")) && !has_file(named("here"));
    return true;
}

std::vector<std::string> scene::left_over() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
        if (entry.path() != fetched_file() && entry.path().filename() != "data")
            names.push_back(entry.path().filename().string());
    return names;
}

void scene::clean_up()
{
    std::filesystem::remove(fetched_file());
    for (const auto& name : left_over())
        std::filesystem::remove(folder_ / name);
}

} // namespace tarnix::test
