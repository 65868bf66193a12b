#pragma once

#include <curl/curl.h>

namespace tarnix::ftp {

/// Of the libcurl that runs, which may be another than the one of the headers.
inline bool libcurl_is_before(unsigned major, unsigned minor)
{
    return curl_version_info(CURLVERSION_NOW)->version_num < (major << 16 | minor << 8);
}

} // namespace tarnix::ftp
