#include "core_on_server.hpp"

#include "outcome.hpp"

namespace tarnix::test {

ftp_login ftp_login_to(const flavour& where)
{
    const auto& server = running_server(where.server);
    ftp_login login(server);
    login.connection_mode = where.connection_mode;
    login.tls_mode = where.tls_mode;
    login.use_proxy = !where.proxy.empty();
    if (where.offers_tls())
        login.ca_file = server["ca_file"];
    return login;
}

sftp_login sftp_login_to(const flavour& where)
{
    const auto& server = running_server(where.server);
    sftp_login login(server);
    login.use_proxy = !where.proxy.empty();
    login.starting_folder = server.root();
    const auto key = key_login_to(where);
    login.private_key_file = key.private_key_file;
    login.public_key_file = key.public_key_file;
    login.passphrase = key.passphrase;
    return login;
}

std::string log_in(core::curl_ptr& handle, const flavour& where)
{
    if (where.is_sftp())
        return where.key.empty() ? connect_with_password(handle, sftp_login_to(where))
                                 : connect_with_keys(handle, sftp_login_to(where));
    // With TLS 1.3 libcurl 7.88 may close an upload before the server has sent its session tickets;
    // the server's system then drops what was not read yet.
    if (where.uses_tls())
        core::set_option(handle, CURLOPT_SSLVERSION, CURL_SSLVERSION_MAX_TLSv1_2);
    // Spares the 200 ms for which libcurl 7.88 lets the bytes of TLS data connections lie.
    core::set_option(handle, CURLOPT_HAPPY_EYEBALLS_TIMEOUT_MS, 1);
    return connect(handle, ftp_login_to(where));
}

core_on_server::core_on_server(const flavour& where)
    : stage(where),
      start_folder_(log_in(session_, where)),
      start_url_(core::current_remote_url(session_))
{
}

std::string core_on_server::outcome(std::string (*operation)(core_on_server&), std::string& details)
{
    // Again each time: is_file takes the bound away.
    constexpr long request_limit_in_milliseconds = 60'000;
    core::transfer_timeout(session_, request_limit_in_milliseconds);
    auto text = outcome_on_scene([&] { return operation(*this); }, details);
    if (const auto url = core::current_remote_url(session_); url != start_url_)
        text += "; then at " + url;
    std::string ignored;
    const auto folder = outcome_of([&] { return core::pwd(session_); }, ignored);
    if (folder.starts_with("raises InternalError"))
        text += "; then out of step";
    else if (folder != start_folder_)
        text += "; then in " + folder;
    core::unsafe_cd(session_, start_url_);
    return without_folders(replaced(text, start_url_, "URL/"));
}

} // namespace tarnix::test
