#include "scene.hpp"

#include <support/temporary_folder.hpp>

#include <cstdint>
#include <utility>

namespace tarnix::test {

namespace fs = std::filesystem;

namespace {

void put_folder(const fs::path& path, fs::perms permissions = fs::perms::all)
{
    fs::create_directory(path);
    fs::permissions(path, permissions);
}

bool may_be_read(const fs::path& folder)
{
    const auto permissions = fs::status(folder).permissions();
    return (permissions & fs::perms::owner_read) != fs::perms::none;
}

} // namespace

void put_file(const fs::path& path, const std::string& content)
{
    write_bytes(path, content);
    fs::permissions(path, fs::perms(0666));
}

std::string shown(const std::string& bytes)
{
    constexpr std::size_t few = 60;
    if (bytes.size() <= few) {
        std::string text;
        for (const char c : bytes)
            text += c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
        return '"' + text + '"';
    }
    std::uint64_t digest = 14695981039346656037U;
    for (const char c : bytes)
        digest = (digest ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return std::to_string(bytes.size()) + " bytes " + std::to_string(digest);
}

scene::scene(fs::path folder) : folder_(std::move(folder))
{
    put_file(folder_ / "file", "content");
    put_file(folder_ / "empty", "");
    put_file(folder_ / "lines", "one\r\ntwo\n");
    fs::permissions(write_bytes(folder_ / "secret", "hidden"), fs::perms::owner_read);
    put_folder(folder_ / "bare");
    put_folder(folder_ / "full");
    put_file(folder_ / "full" / "inner", "inside");
    put_folder(folder_ / "locked");
    put_file(folder_ / "locked" / "kept", "kept");
    fs::permissions(folder_ / "locked", fs::perms(0555));
    put_folder(folder_ / "closed", fs::perms::none);
    before_ = look();
}

scene::things scene::look() const
{
    things found;
    for (auto at = fs::recursive_directory_iterator(folder_); at != end(at); ++at) {
        const auto name = fs::relative(at->path(), folder_).string();
        if (!at->is_directory()) {
            found[name] = shown(read_bytes(at->path()));
            continue;
        }
        found[name] = "/";
        if (!may_be_read(at->path()))
            at.disable_recursion_pending();
    }
    return found;
}

std::string scene::changes() const
{
    const auto now = look();
    auto names = before_;
    names.insert(now.begin(), now.end());
    std::string text;
    for (const auto& [name, ignored] : names) {
        const auto old_thing = before_.find(name);
        const auto new_thing = now.find(name);
        std::string change;
        if (new_thing == now.end())
            change = '-' + name;
        else if (old_thing == before_.end())
            change = '+' + name;
        else if (old_thing->second != new_thing->second)
            change = name;
        else
            continue;
        if (new_thing != now.end())
            change += (new_thing->second == "/" ? "" : "=") + new_thing->second;
        text += (text.empty() ? "" : ", ") + change;
    }
    return text;
}

} // namespace tarnix::test
