#include "host_key.hpp"

#include <fstream>
#include <sstream>
#include <string>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

/// Whether a line "@revoked HOSTS TYPE KEY" has this key, whatever the hosts. libssh2 takes the
/// mark for the name of a host.
bool is_among_revoked(const std::string& key, const std::string& known_hosts_file)
{
    std::ifstream file(known_hosts_file);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word != "@revoked")
            continue;
        while (words >> word)
            if (word == key)
                return true;
    }
    return false;
}

} // namespace

void host_key_judge::observe(core::curl_ptr& handle, const std::string& known_hosts_file)
{
    known_hosts_file_ = known_hosts_file;
    core::set_option(handle, CURLOPT_SSH_KEYDATA, this);
    core::set_option(handle, CURLOPT_SSH_KEYFUNCTION, reinterpret_cast<void (*)()>(&judge));
}

int host_key_judge::judge(CURL*, const curl_khkey* known, const curl_khkey*, curl_khmatch verdict,
                          void* self) noexcept
{
    auto& own = *static_cast<host_key_judge*>(self);
    own.verdict_ = verdict;
    if (verdict != CURLKHMATCH_OK)
        return CURLKHSTAT_REJECT;
    try {
        // One that libcurl knows from a file is a text, and has no length.
        own.is_revoked_ = is_among_revoked(known->key, own.known_hosts_file_);
    } catch (...) {
        return CURLKHSTAT_REJECT;
    }
    return own.is_revoked_ ? CURLKHSTAT_REJECT : CURLKHSTAT_FINE;
}

} // namespace tarnix::ftp
