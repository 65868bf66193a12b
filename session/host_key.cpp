#include "host_key.hpp"

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

void host_key_judge::observe(core::curl_ptr& handle)
{
    core::set_option(handle, CURLOPT_SSH_KEYDATA, this);
    core::set_option(handle, CURLOPT_SSH_KEYFUNCTION, reinterpret_cast<void (*)()>(&judge));
}

int host_key_judge::judge(CURL*, const curl_khkey*, const curl_khkey*, curl_khmatch verdict,
                          void* self) noexcept
{
    static_cast<host_key_judge*>(self)->verdict_ = verdict;
    return verdict == CURLKHMATCH_OK ? CURLKHSTAT_FINE : CURLKHSTAT_REJECT;
}

} // namespace tarnix::ftp
