#include "live_scene.hpp"

namespace tarnix::test {

namespace fs = std::filesystem;

namespace {

constexpr int most_runs = 1000000;
constexpr auto fingerprint = "SHA256:";

void put_folder(const fs::path& path)
{
    fs::create_directory(path);
    fs::permissions(path, fs::perms::all);
}

void put_file(const fs::path& path, const std::string& content)
{
    write_bytes(path, content);
    fs::permissions(path, fs::perms(0666));
}

} // namespace

live_scene::live_scene(const counterpart& who, int number, std::size_t size)
    : scene(size, number * most_runs), server_(running_server(who.kind)), who_(who)
{
    put_file(server_.root() / "file", content());
    put_folder(server_.root() / "shelf");
    put_file(server_.root() / "shelf" / "one", "1");
    put_folder(server_.root() / "shelf" / "two");
}

void live_scene::set_server()
{
    // By now nobody touches what this run made.
    constexpr int long_ago = 20;
    const auto old = std::to_string(std::stoi(serial()) - long_ago);
    for (const auto* name : {"empty-", "doomed-", "here-", "there-", "made-", "stored-", "again-"})
        fs::remove_all(server_.root() / (name + old));
    put_folder(server_.root() / ("empty-" + serial()));
    put_file(server_.root() / ("doomed-" + serial()), "d");
    put_file(server_.root() / ("here-" + serial()), "h");
}

void live_scene::introduce(assignment& given) const
{
    given.scheme = who_.scheme;
    given.user = server_.user();
    given.password = server_.password();
    const auto is_named = !who_.proof.empty() && !who_.proof.starts_with(fingerprint);
    given.proof = is_named ? server_[who_.proof] : who_.proof;
    given.login_folder = server_.root().string();
}

bool live_scene::has_folder(const std::string& name) const
{
    return fs::is_directory(server_.root() / name);
}

bool live_scene::has_file(const std::string& name) const
{
    return fs::is_regular_file(server_.root() / name);
}

bool live_scene::has_file(const std::string& name, const std::string& content) const
{
    return has_file(name) && read_bytes(server_.root() / name) == content;
}

} // namespace tarnix::test
