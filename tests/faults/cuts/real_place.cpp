#include "real_place.hpp"

#include "contents.hpp"

#include <live/session/session_on_server.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace tarnix::test {

namespace fs = std::filesystem;

namespace {

fs::path new_folder_in(const fs::path& root)
{
    auto name = (root / "cut-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    // The server's user works in it too.
    fs::permissions(name, fs::perms::all);
    return name;
}

std::string lines_of_text()
{
    std::string text;
    for (int line = 0; text.size() < 20'000; ++line)
        text += "line " + std::to_string(line) + '\n';
    return text;
}

std::set<std::string> names_in(const fs::path& folder)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

} // namespace

const std::string real_place::text = lines_of_text();

real_server real_server::of_kind(const std::string& kind)
{
    real_server found{url_of(kind), login_to(kind), running_server(kind).root()};
    // No wait here needs more; a wait for a reply that never comes shall not look like a hang.
    found.login.reply_timeout = std::chrono::seconds(5);
    found.login.connect_timeout = std::chrono::seconds(10);
    return found;
}

real_place::real_place(const real_server& at)
    : server(at),
      remote(new_folder_in(at.root)),
      gate(new_loopback(), cutting_gate::speech::opaque, at.url.host, *at.url.port),
      way(gate, *at.url.port)
{
}

real_place::~real_place()
{
    // With the servers goes what cannot be removed now.
    std::error_code ignored;
    fs::remove_all(remote, ignored);
}

void real_place::connect_session()
{
    auto options = server.login;
    options.starting_folder = remote;
    session.emplace(server.url, options);
}

void real_place::use_session()
{
    if (!session)
        connect_session();
    const fs::path folder = session->working_folder();
    // The server may still be at work on what it was told before the cut.
    const auto before = names_in(folder);
    const auto listed = session->names();
    const std::set<std::string> names(listed.begin(), listed.end());
    if (names != before && names != names_in(folder))
        throw std::runtime_error("wrong names in " + folder.string());
}

void real_place::add_file(const std::string& name, const std::string& content) const
{
    fs::permissions(write_bytes(remote / name, content), fs::perms::all);
}

void real_place::add_folder(const std::string& name) const
{
    fs::create_directory(remote / name);
    fs::permissions(remote / name, fs::perms::all);
}

std::string real_place::remote_files() const
{
    std::vector<std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(remote)) {
        const auto name = fs::relative(entry.path(), remote).string();
        all.push_back(
            ' ' + name +
            (entry.is_directory() ? "/" : '=' + content_of(read_bytes(entry.path()), text)));
    }
    std::sort(all.begin(), all.end());
    std::string shown;
    for (const auto& one : all)
        shown += one;
    return shown;
}

} // namespace tarnix::test
