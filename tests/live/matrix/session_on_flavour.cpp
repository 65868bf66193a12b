#include "session_on_flavour.hpp"

#include "outcome.hpp"
#include "scene.hpp"

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
    if (where.key.empty()) {
        options.password = server.password();
        return options;
    }
    const auto key = key_names(where);
    options.private_key_file = server[key.private_key];
    if (where.with_public_key_file)
        options.public_key_file = server[key.public_key];
    if (where.key_is_encrypted)
        options.passphrase = server["passphrase"];
    return options;
}

session_on_flavour::session_on_flavour(const flavour& where)
    : where_(where),
      server_(running_server(where.server)),
      proxy_(where),
      session_(url_of(where), login_to(where))
{
}

std::string session_on_flavour::outcome(std::string (*operation)(session_on_flavour&),
                                        std::string& details)
{
    reset(server_);
    const scene before(root());
    auto text = outcome_of([&] { return operation(*this); }, details);
    if (const auto changes = before.changes(); !changes.empty())
        text += "; " + changes;
    if (session_.working_folder() != root()) {
        text += "; then in " + session_.working_folder();
        session_.change_folder(root());
    }
    text = replaced(text, root(), "ROOT");
    return replaced(text, local_.path(), "LOCAL");
}

} // namespace tarnix::test
