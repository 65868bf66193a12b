#include "tls_ends.hpp"

#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <string_view>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

/// OpenSSL asks for the end when nothing could be read, and then fails the read. libcurl's own
/// input, below OpenSSL, never says that it has ended.
long tell_end(BIO* input, int operation, const char*, std::size_t, int command, long, int result,
              std::size_t*) noexcept
{
    const auto is_question = operation == (BIO_CB_CTRL | BIO_CB_RETURN) && command == BIO_CTRL_EOF;
    return is_question && BIO_should_retry(input) == 0 ? 1 : result;
}

void watch_input(const SSL* connection, int where, int) noexcept
{
    if ((where & SSL_CB_HANDSHAKE_START) != 0)
        BIO_set_callback_ex(SSL_get_rbio(connection), &tell_end);
}

CURLcode prepare(CURL*, void* context, void*) noexcept
{
    SSL_CTX_set_info_callback(static_cast<SSL_CTX*>(context), &watch_input);
    return CURLE_OK;
}

/// What libcurl hands over is of the kind that this file was compiled for.
bool libcurl_has_openssl()
{
    const auto* library = curl_version_info(CURLVERSION_NOW)->ssl_version;
    return library && std::string_view(library).starts_with("OpenSSL/3.");
}

} // namespace

void refuse_unannounced_ends(core::curl_ptr& handle)
{
    if (libcurl_has_openssl())
        core::set_option(handle, CURLOPT_SSL_CTX_FUNCTION, reinterpret_cast<void (*)()>(&prepare));
}

} // namespace tarnix::ftp
