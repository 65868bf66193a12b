#include "core_operations.hpp"
#include "server_content.hpp"

#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <fl/i18n/ustring_conversion.hpp>

namespace tarnix::test {

namespace core = io::ftp::core;

namespace {

const std::string content = file_content;

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

std::string connect_at(core::curl_ptr& handle, const std::string& url,
                       const scripted_server& server, const std::string& mode = "passive")
{
    return core::connect(handle, url, "u", "secret", server.port(), mode, "none", false, "", false,
                         false, 0, 0);
}

std::string as_text(bool yes)
{
    return yes ? "true" : "false";
}

core::ustring local_name(const core_setting& at)
{
    return at.local.u16string();
}

std::string upload(core_setting& at, bool text_mode)
{
    write_bytes(at.local, content);
    core::send_file(at.handle, local_name(at), u"new", text_mode);
    // A server that says "done" too early has still to take it.
    return "stored " + quoted(at.server.tree().await("/home/u/new").value_or("nothing"));
}

std::string download(core_setting& at, bool text_mode)
{
    core::receive_file(at.handle, u"file", local_name(at), text_mode);
    return "fetched " + quoted(read_bytes(at.local));
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const auto& name : names)
        text += '[' + name + ']';
    return text;
}

/// What a command did on the server.
std::string done(bool yes)
{
    return yes ? "done" : "said to be done";
}

} // namespace

std::string connect_to(core::curl_ptr& handle, const scripted_server& server)
{
    return connect_at(handle, "ftp://" + server.address(), server);
}

const std::vector<core_operation>& core_operations()
{
    static const std::vector<core_operation> all{
        {"connect", true, [](core_setting& at) { return connect_to(at.handle, at.server); }},
        {"connect to a folder", true,
         [](core_setting& at) {
             return connect_at(at.handle, "ftp://" + at.server.address() + "/folder", at.server);
         }},
        {"pwd", false, [](core_setting& at) { return core::pwd(at.handle); }},
        {"cd", false,
         [](core_setting& at) {
             return core::cd(at.handle, core::fullurl(at.handle, "folder", false));
         }},
        {"is_folder", false,
         [](core_setting& at) { return as_text(core::is_folder(at.handle, "folder")); }},
        {"create_folder", false,
         [](core_setting& at) {
             core::create_folder(at.handle, "new");
             return done(at.server.tree().is_folder("/home/u/new"));
         }},
        {"delete_folder", false,
         [](core_setting& at) {
             core::delete_folder(at.handle, "folder");
             return done(!at.server.tree().is_folder("/home/u/folder"));
         }},
        {"list", false, [](core_setting& at) { return quoted(core::list(at.handle, "")); }},
        {"nlst", false, [](core_setting& at) { return quoted(core::nlst(at.handle, "")); }},
        {"dir", false, [](core_setting& at) { return joined(core::dir(at.handle, "")); }},
        {"syst", false, [](core_setting& at) { return quoted(core::syst(at.handle)); }},
        {"fullfile", false, [](core_setting& at) { return core::fullfile(at.handle, "file"); }},
        {"send_file", false, [](core_setting& at) { return upload(at, false); }},
        {"send_file as text", false, [](core_setting& at) { return upload(at, true); }},
        {"receive_file", false, [](core_setting& at) { return download(at, false); }},
        {"receive_file as text", false, [](core_setting& at) { return download(at, true); }},
        {"delete_remote_file", false,
         [](core_setting& at) {
             core::delete_remote_file(at.handle, u"file");
             return done(!at.server.tree().is_file("/home/u/file"));
         }},
        {"rename_remote_file", false,
         [](core_setting& at) {
             core::rename_remote_file(at.handle, u"file", u"new");
             return done(at.server.tree().is_file("/home/u/new"));
         }},
        {"is_file", false,
         [](core_setting& at) { return as_text(core::is_file(at.handle, u"file")); }},
    };
    return all;
}

} // namespace tarnix::test
