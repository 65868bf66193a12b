#include "session_operations.hpp"

#include "server_content.hpp"

#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

namespace tarnix::test {

namespace {

const std::string content = file_content;

std::string as_text(bool yes)
{
    return yes ? "yes" : "no";
}

std::string done(bool yes)
{
    return yes ? "done" : "not done";
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const auto& name : names)
        text += '[' + name + ']';
    return text;
}

std::string connect(session_setting& at, const std::string& folder)
{
    at.options.starting_folder = folder;
    at.session.emplace(url_of(at.server), at.options);
    return at.session->working_folder();
}

std::string upload(session_setting& at, ftp::transfer_mode mode)
{
    at.session->upload(write_bytes(at.local, content), "new", mode);
    return at.server.tree().read("/home/u/new").value_or("nothing");
}

std::string download(session_setting& at, ftp::transfer_mode mode)
{
    at.session->download("file", at.local, mode);
    return read_bytes(at.local);
}

} // namespace

ftp::url url_of(const scripted_server& server)
{
    auto url = ftp::parse_url("ftp://u@" + server.address());
    url.port = server.port();
    return url;
}

const std::vector<session_operation>& session_operations()
{
    using ftp::transfer_mode;
    static const std::vector<session_operation> all{
        {"connect", true, [](session_setting& at) { return connect(at, ""); }},
        {"connect to a folder", true, [](session_setting& at) { return connect(at, "folder"); }},
        {"change_folder", false,
         [](session_setting& at) {
             at.session->change_folder("folder");
             return at.session->working_folder();
         }},
        {"list", false, [](session_setting& at) { return at.session->list(); }},
        {"names", false, [](session_setting& at) { return joined(at.session->names()); }},
        {"is_folder", false,
         [](session_setting& at) { return as_text(at.session->is_folder("folder")); }},
        {"exists", false, [](session_setting& at) { return as_text(at.session->exists("file")); }},
        {"exists of nothing", false,
         [](session_setting& at) { return as_text(at.session->exists("missing")); }},
        {"is_file", false,
         [](session_setting& at) { return as_text(at.session->is_file("file")); }},
        {"make_folder", false,
         [](session_setting& at) {
             at.session->make_folder("new");
             return done(at.server.tree().is_folder("/home/u/new"));
         }},
        {"remove_folder", false,
         [](session_setting& at) {
             at.session->remove_folder("folder");
             return done(!at.server.tree().is_folder("/home/u/folder"));
         }},
        {"remove_file", false,
         [](session_setting& at) {
             at.session->remove_file("file");
             return done(!at.server.tree().is_file("/home/u/file"));
         }},
        {"rename", false,
         [](session_setting& at) {
             at.session->rename("file", "new");
             return done(at.server.tree().is_file("/home/u/new"));
         }},
        {"upload", false, [](session_setting& at) { return upload(at, transfer_mode::binary); }},
        {"upload as text", false,
         [](session_setting& at) { return upload(at, transfer_mode::text); }},
        {"download", false,
         [](session_setting& at) { return download(at, transfer_mode::binary); }},
        {"download as text", false,
         [](session_setting& at) { return download(at, transfer_mode::text); }},
        {"system_type", false, [](session_setting& at) { return at.session->system_type(); }},
    };
    return all;
}

} // namespace tarnix::test
