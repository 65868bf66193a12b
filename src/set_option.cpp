#include <tarnix/io/ftp/core.hpp>

namespace tarnix::io::ftp::core {

namespace {

/// The only place that calls libcurl's variadic setter, which reads exactly the type that the
/// option wants: a whole `long`, `curl_off_t` or pointer.
template <typename Value>
void set(curl_ptr& handle, CURLoption option, Value value)
{
    handle.throw_if_null();
    curl_easy_setopt(handle.get(), option, value);
}

bool reads_offset(CURLoption option)
{
    return option >= CURLOPTTYPE_OFF_T && option < CURLOPTTYPE_BLOB;
}

} // namespace

void set_option(curl_ptr& handle, CURLoption option, long long value)
{
    if (reads_offset(option))
        set(handle, option, static_cast<curl_off_t>(value));
    else
        set(handle, option, static_cast<long>(value));
}

void set_option(curl_ptr& handle, CURLoption option, const void* value)
{
    set(handle, option, value);
}

void set_option(curl_ptr& handle, CURLoption option, void (*value)())
{
    set(handle, option, value);
}

} // namespace tarnix::io::ftp::core
