#include "session_on_flavour.hpp"

namespace tarnix::test {

ftp::url url_of(const flavour& where)
{
    const auto& server = running_server(where.server);
    ftp::url result;
    result.scheme = where.is_sftp()              ? ftp::protocol::sftp
                    : where.tls_mode == "strict" ? ftp::protocol::ftpes
                                                 : ftp::protocol::ftp;
    result.host = server.host();
    result.port = static_cast<std::uint16_t>(server.port());
    return result;
}

ftp::session_options login_to(const flavour& where)
{
    const auto& server = running_server(where.server);
    ftp::session_options options;
    options.user = server.user();
    options.use_proxy = !where.proxy.empty();
    options.active_mode = where.connection_mode == "active";
    if (where.tls_mode == "opportunistic")
        options.tls = ftp::tls_mode::opportunistic;
    if (where.offers_tls())
        options.ca_file = server["ca_file"];
    if (where.is_sftp())
        options.known_hosts_file = server["known_hosts"];
    if (where.key.empty())
        options.password = server.password();
    const auto key = key_login_to(where);
    options.private_key_file = key.private_key_file;
    options.public_key_file = key.public_key_file;
    options.passphrase = key.passphrase;
    return options;
}

session_on_flavour::session_on_flavour(const flavour& where)
    : stage(where), session_(url_of(where), login_to(where))
{
}

std::string session_on_flavour::outcome(std::string (*operation)(session_on_flavour&),
                                        std::string& details)
{
    auto text = outcome_on_scene([&] { return operation(*this); }, details);
    if (session_.working_folder() != root()) {
        text += "; then in " + session_.working_folder();
        session_.change_folder(root());
    }
    return without_folders(text);
}

} // namespace tarnix::test
