#pragma once

#include <tarnix/io/ftp/core.hpp>

namespace tarnix::ftp {

/// Makes a TLS connection fail that ends without the peer's word that this is the end, as somebody
/// between the two can make it end. In FTP the end of the connection is the end of the data, and
/// libcurl 7.88 takes any end for a good one. For libcurls with OpenSSL 3; does nothing to others.
void refuse_unannounced_ends(io::ftp::core::curl_ptr& handle);

} // namespace tarnix::ftp
