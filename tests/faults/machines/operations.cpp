#include "operations.hpp"

#include <tarnix/ftp/url.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/warning.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <foundation/core/identifier.hpp>
#include <tx/array.hpp>
#include <zobs/class.hpp>
#include <zobs/namespace.hpp>
#include <zobs/object.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace tarnix::test {

namespace core = io::ftp::core;

namespace {

std::string connect(core::curl_ptr& handle, const site& at)
{
    const auto& server = at.server;
    return core::connect(handle, "ftp://" + at.host, server.user, server.password, server.port,
                         "passive", server.scheme == "ftp" ? "none" : "strict", false, server.proof,
                         true, true, 1, 30);
}

ftp::session open_session(const site& at)
{
    // Less than what the child may take.
    constexpr std::chrono::seconds patience{15};
    const auto& server = at.server;
    ftp::session_options options;
    options.user = server.user;
    options.password = server.password;
    options.port = server.port;
    options.connect_timeout = patience;
    options.reply_timeout = patience;
    if (server.scheme == "ftpes")
        options.ca_file = server.proof;
    else if (server.proof.starts_with('/'))
        options.known_hosts_file = server.proof;
    else
        options.host_key_fingerprint = server.proof;
    return ftp::session(ftp::parse_url(server.scheme + "://" + at.host), options);
}

std::string truth(bool is)
{
    return is ? "true" : "false";
}

template <typename Names>
std::string joined(const Names& names)
{
    std::string text;
    for (const auto& name : names)
        text += name + '|';
    return text;
}

core::ustring wide(const std::string& text)
{
    return fl::i18n::utf8_to_ustring(text);
}

/// All that the library does with a connection that is encrypted.
std::string speak_encrypted(site& at)
{
    auto& handle = at.handle.emplace();
    const auto folder = connect(handle, at);
    return core::pwd(handle) == folder ? joined(core::dir(handle, "shelf")) : "another folder";
}

/// With long arguments of all kinds. They are made in their place: libstdc++ 12 does not survive it
/// when memory fails the copy of a variant that holds a text.
template <typename Tag>
resource_core::BaseMsgID message_of()
{
    namespace except = foundation::core::except;
    resource_core::BaseMsgID message;
    message.component = except::identifier<Tag>::component;
    message.id = except::identifier<Tag>::id;
    message.arguments.reserve(3);
    message.arguments.emplace_back(530LL);
    message.arguments.emplace_back(std::string(64, 'a'));
    message.arguments.emplace_back(std::u16string(64, u'b'));
    return message;
}

/// The text of a message for each identifier of the library.
template <typename... Tags>
std::string texts_of(foundation::core::except::catalogue<Tags...>)
{
    std::size_t length = 0;
    (..., (length += host::message_text(message_of<Tags>()).size()));
    return std::to_string(length);
}

/// A handler that is set, warned through, and taken back.
std::string warn_through_a_handler()
{
    struct own_handler {
        explicit own_handler(host::warning_handler handler)
            : before(host::set_warning_handler(std::move(handler)))
        {
        }
        ~own_handler() { host::set_warning_handler(std::move(before)); }
        own_handler(const own_handler&) = delete;
        own_handler& operator=(const own_handler&) = delete;

        host::warning_handler before;
    };
    std::string heard;
    const std::string long_mark(64, '!');
    const own_handler handler([&heard, long_mark](const resource_core::BaseMsgID& message) {
        heard += message.id + long_mark;
    });
    txWarningMsgId(
        foundation::core::except::make_message_id<core::ids::CouldNotDetermineHomeFolder>());
    return heard;
}

/// A connection object of the host, and the handle in it.
std::string unwrap_handle()
{
    TXInitialize_FTPCoreModule();
    const auto* type = zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection"));
    if (!type)
        throw std::logic_error("the class is not registered");
    const txArray array({1, 1}, {zobs::omCreateObject(*type)});
    return truth(static_cast<bool>(core::get_curl_ptr(&array)));
}

std::string start_host()
{
    const host::standalone services;
    const core::curl_ptr handle;
    return truth(static_cast<bool>(handle));
}

using stage = operation::stage;

const std::array operations{
    // The library.
    operation{"core_connect", stage::bare,
              [](site& at) {
                  at.handle.emplace();
                  return connect(*at.handle, at);
              }},
    operation{"core_pwd", stage::handle, [](site& at) { return core::pwd(at.connected()); }},
    operation{
        "core_cd", stage::handle,
        [](site& at) { return core::cd(at.connected(), "ftp://" + at.host + "//home/u/shelf/"); }},
    operation{"core_list", stage::handle,
              [](site& at) { return core::list(at.connected(), "shelf"); }},
    operation{"core_nlst", stage::handle,
              [](site& at) { return core::nlst(at.connected(), "shelf"); }},
    operation{"core_dir", stage::handle,
              [](site& at) { return joined(core::dir(at.connected(), "shelf")); }},
    operation{"core_is_folder", stage::handle,
              [](site& at) { return truth(core::is_folder(at.connected(), "shelf")); }},
    operation{"core_mkdir", stage::handle,
              [](site& at) {
                  core::create_folder(at.connected(), "made-" + at.serial);
                  return std::string();
              }},
    operation{"core_rmdir", stage::handle,
              [](site& at) {
                  core::delete_folder(at.connected(), "empty-" + at.serial);
                  return std::string();
              }},
    operation{"core_put", stage::handle,
              [](site& at) {
                  core::send_file(at.connected(), at.source().u16string(),
                                  wide("stored-" + at.serial), false);
                  return std::string();
              }},
    operation{"core_get", stage::handle,
              [](site& at) {
                  core::receive_file(at.connected(), wide("file"), at.target().u16string(), false);
                  return std::string();
              }},
    operation{"core_delete", stage::handle,
              [](site& at) {
                  core::delete_remote_file(at.connected(), wide("doomed-" + at.serial));
                  return std::string();
              }},
    operation{"core_rename", stage::handle,
              [](site& at) {
                  core::rename_remote_file(at.connected(), wide("here-" + at.serial),
                                           wide("there-" + at.serial));
                  return std::string();
              }},
    operation{"core_is_file", stage::handle,
              [](site& at) { return truth(core::is_file(at.connected(), wide("file"))); }},
    operation{"core_syst", stage::handle, [](site& at) { return core::syst(at.connected()); }},
    operation{"core_encrypted", stage::bare, &speak_encrypted},
    // The session layer.
    operation{"session_connect", stage::bare,
              [](site& at) {
                  at.session = open_session(at);
                  return at.session->working_folder();
              }},
    operation{"session_cd", stage::session,
              [](site& at) {
                  at.session->change_folder("shelf");
                  return at.session->working_folder();
              }},
    operation{"session_list", stage::session, [](site& at) { return at.session->list("shelf"); }},
    operation{"session_names", stage::session,
              [](site& at) { return joined(at.session->names("shelf")); }},
    operation{"session_is_folder", stage::session,
              [](site& at) { return truth(at.session->is_folder("shelf")); }},
    operation{"session_exists", stage::session,
              [](site& at) { return truth(at.session->exists("file")); }},
    operation{"session_is_file", stage::session,
              [](site& at) { return truth(at.session->is_file("file")); }},
    operation{"session_mkdir", stage::session,
              [](site& at) {
                  at.session->make_folder("made-" + at.serial);
                  return std::string();
              }},
    operation{"session_rmdir", stage::session,
              [](site& at) {
                  at.session->remove_folder("empty-" + at.serial);
                  return std::string();
              }},
    operation{"session_put", stage::session,
              [](site& at) {
                  at.session->upload(at.source(), "stored-" + at.serial);
                  return std::string();
              }},
    operation{"session_get", stage::session,
              [](site& at) {
                  at.session->download("file", at.target());
                  return std::string();
              }},
    operation{"session_delete", stage::session,
              [](site& at) {
                  at.session->remove_file("doomed-" + at.serial);
                  return std::string();
              }},
    operation{"session_rename", stage::session,
              [](site& at) {
                  at.session->rename("here-" + at.serial, "there-" + at.serial);
                  return std::string();
              }},
    operation{"session_syst", stage::session, [](site& at) { return at.session->system_type(); }},
    // What needs no server.
    operation{"host_start", stage::alone, [](site&) { return start_host(); }},
    operation{"host_messages", stage::bare, [](site&) { return texts_of(core::ids::catalogue()); }},
    operation{"host_warning", stage::bare, [](site&) { return warn_through_a_handler(); }},
    operation{"host_object", stage::bare, [](site&) { return unwrap_handle(); }},
    operation{"url_parsing", stage::bare,
              [](site&) {
                  const auto read = ftp::parse_url(
                      "ftp://somebody%20with%20a%20long%20name@host.example:2121/a%20long/folder");
                  return *read.user + read.host + std::to_string(*read.port) + read.path;
              }},
};

} // namespace

const operation& find_operation(const std::string& name)
{
    const auto* found = std::find_if(operations.begin(), operations.end(),
                                     [&](const operation& one) { return one.name == name; });
    if (found == operations.end())
        throw std::invalid_argument("there is no operation " + name);
    return *found;
}

void prepare(site& at, operation::stage wanted)
{
    if (wanted == stage::handle)
        connect(at.handle.emplace(), at);
    if (wanted == stage::session)
        at.session = open_session(at);
}

std::string use_again(site& at)
{
    std::string seen;
    if (at.handle && at.server.scheme == "ftp") {
        seen = connect(*at.handle, at) + ' ';
        seen += joined(core::dir(*at.handle, "shelf"));
    }
    if (at.session) {
        const auto& home = at.server.login_folder;
        const auto made = home + "/again-" + at.serial;
        seen = joined(at.session->names(home + "/shelf"));
        at.session->make_folder(made);
        at.session->remove_folder(made);
    }
    return seen;
}

} // namespace tarnix::test
