#include "ftp_flavours.hpp"

namespace tarnix::test {

connected_ftp::connected_ftp() : server_(running_server(GetParam().server))
{
    reset(server_);
    ftp_login login(server_);
    login.connection_mode = GetParam().connection_mode;
    login.tls_mode = GetParam().tls_mode;
    if (login.tls_mode != "none") {
        login.ca_file = server_["ca_file"];
        // With TLS 1.3 libcurl 7.88 may close an upload before the server has sent its session
        // tickets; the server's system then drops what was not read yet.
        core::set_option(session(), CURLOPT_SSLVERSION, CURL_SSLVERSION_MAX_TLSv1_2);
    }
    connect(session(), login);
}

} // namespace tarnix::test
