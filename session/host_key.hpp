#pragma once

#include <tarnix/io/ftp/core.hpp>

namespace tarnix::ftp {

/// Judges an SSH server's key by a file of known keys, as libcurl would by itself, and remembers
/// the verdict, which libcurl does not tell. libcurl keeps the address of this object.
class host_key_judge {
public:
    host_key_judge() = default;
    host_key_judge(const host_key_judge&) = delete;
    host_key_judge& operator=(const host_key_judge&) = delete;

    void observe(io::ftp::core::curl_ptr& handle);

    bool is_unknown() const { return verdict_ == CURLKHMATCH_MISSING; }
    bool is_other() const { return verdict_ == CURLKHMATCH_MISMATCH; }

private:
    static int judge(CURL*, const curl_khkey*, const curl_khkey*, curl_khmatch verdict,
                     void* self) noexcept;

    curl_khmatch verdict_ = CURLKHMATCH_OK;
};

} // namespace tarnix::ftp
