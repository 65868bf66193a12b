#include "core_on_server.hpp"

#include "outcome.hpp"

#include <cstdlib>

namespace tarnix::test {

namespace {

const live_server& emptied(const live_server& server)
{
    reset(server);
    return server;
}

} // namespace

proxy_setting::proxy_setting(const flavour& where)
{
    if (where.proxy.empty())
        return;
    const auto& proxy = running_server(where.proxy);
    const auto says_who = where.proxy.ends_with("-auth") && where.tells_the_proxy_who_it_is;
    const auto who = says_who ? proxy.user() + ':' + proxy.password() + '@' : "";
    const auto url = "http://" + who + proxy.host() + ':' + std::to_string(proxy.port());
    ::setenv("http_proxy", url.c_str(), 1);
}

proxy_setting::~proxy_setting()
{
    ::unsetenv("http_proxy");
}

core_on_server::core_on_server(const flavour& where)
    : where_(where),
      server_(emptied(running_server(where.server))),
      proxy_(where),
      start_folder_(log_in(session())),
      scene_(server_.root())
{
    start_url_ = core::current_remote_url(session());
}

ftp_login core_on_server::ftp_arguments() const
{
    ftp_login login(server_);
    login.connection_mode = where_.connection_mode;
    login.tls_mode = where_.tls_mode;
    login.use_proxy = !where_.proxy.empty();
    if (where_.offers_tls())
        login.ca_file = server_["ca_file"];
    return login;
}

sftp_login core_on_server::sftp_arguments() const
{
    sftp_login login(server_);
    login.use_proxy = !where_.proxy.empty();
    login.starting_folder = root();
    if (where_.key.empty())
        return login;
    const auto key = key_names(where_);
    login.private_key_file = server_[key.private_key];
    if (where_.with_public_key_file)
        login.public_key_file = server_[key.public_key];
    if (where_.key_is_encrypted)
        login.passphrase = server_["passphrase"];
    return login;
}

std::string core_on_server::log_in(core::curl_ptr& handle) const
{
    if (!where_.is_sftp()) {
        // With TLS 1.3 libcurl 7.88 may close an upload before the server has sent its session
        // tickets; the server's system then drops what was not read yet.
        if (where_.uses_tls())
            core::set_option(handle, CURLOPT_SSLVERSION, CURL_SSLVERSION_MAX_TLSv1_2);
        // Spares the 200 ms for which libcurl 7.88 lets the bytes of TLS data connections lie.
        core::set_option(handle, CURLOPT_HAPPY_EYEBALLS_TIMEOUT_MS, 1);
        return connect(handle, ftp_arguments());
    }
    return where_.key.empty() ? connect_with_password(handle, sftp_arguments())
                              : connect_with_keys(handle, sftp_arguments());
}

std::string core_on_server::outcome(std::string (*operation)(core_on_server&))
{
    std::string no_details;
    auto text = outcome_of([&] { return operation(*this); }, no_details);
    if (const auto changes = scene_.changes(); !changes.empty())
        text += "; " + changes;
    if (const auto url = core::current_remote_url(session()); url != start_url_)
        text += "; then at " + url;
    if (const auto folder = core::pwd(session()); folder != start_folder_)
        text += "; then in " + folder;
    text = replaced(text, root(), "ROOT");
    text = replaced(text, "//" + server_.host(), "//HOST");
    return replaced(text, local().path(), "LOCAL");
}

} // namespace tarnix::test
