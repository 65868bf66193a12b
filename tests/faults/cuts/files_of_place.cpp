#include "files_of_place.hpp"

namespace tarnix::test {

namespace {

std::string files_in(const file_tree& tree, const std::string& folder)
{
    std::string all;
    for (const auto& name : tree.names(folder)) {
        const auto path = folder + '/' + name;
        const auto content = tree.read(path);
        const auto shown = path.substr(std::string(place::login_folder).size() + 1);
        if (path != place::working_folder)
            all += ' ' + shown + (content ? '=' + content_of(*content) : "/");
        all += files_in(tree, path);
    }
    return all;
}

} // namespace

std::string server_changes(place& here)
{
    const auto now = files_in(here.server.tree(), place::login_folder);
    if (now == here.files_before)
        return "";
    return now.empty() ? " -> nothing" : " ->" + now;
}

std::filesystem::path local_file(const place& here)
{
    return local_file_in(here.local.path());
}

std::string changes_and_local_files(place& here)
{
    return server_changes(here) + local_files(here.local.path());
}

void nothing(place&) {}

void file_to_send(place& here)
{
    write_bytes(local_file(here), the_text);
}

preparation remote_file(const std::string& name, const std::string& content)
{
    return [=](place& here) {
        here.server.tree().add_file(std::string(place::working_folder) + '/' + name, content);
    };
}

preparation remote_folder(const std::string& name)
{
    return [=](place& here) {
        here.server.tree().add_folder(std::string(place::working_folder) + '/' + name);
    };
}

preparation prepared(const preparation& what)
{
    return [what](place& here) {
        here.server.tree().add_folder(place::working_folder);
        what(here);
        here.files_before = files_in(here.server.tree(), place::login_folder);
    };
}

} // namespace tarnix::test
