#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <string>

namespace tarnix::ftp {

/// Judges an SSH server's key by a file of known keys, as libcurl would by itself but for keys that
/// the file marks as revoked, and remembers the verdict, which libcurl does not tell. libcurl keeps
/// the address of this object.
class host_key_judge {
public:
    host_key_judge() = default;
    host_key_judge(const host_key_judge&) = delete;
    host_key_judge& operator=(const host_key_judge&) = delete;

    void observe(io::ftp::core::curl_ptr& handle, const std::string& known_hosts_file);

    bool is_unknown() const { return verdict_ == CURLKHMATCH_MISSING; }
    bool is_other() const { return verdict_ == CURLKHMATCH_MISMATCH; }
    bool is_revoked() const { return is_revoked_; }

private:
    static int judge(CURL*, const curl_khkey* known, const curl_khkey*, curl_khmatch verdict,
                     void* self) noexcept;

    std::string known_hosts_file_;
    curl_khmatch verdict_ = CURLKHMATCH_OK;
    bool is_revoked_ = false;
};

} // namespace tarnix::ftp
