#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <cstdio>
#include <exception>
#include <new>

namespace tarnix::io::ftp::core {

namespace {

/// libcurl's write callback: appends to the `std::string` that is the user data. A text that does
/// not fit into memory makes libcurl end the transfer with a write error.
std::size_t collect(char* data, std::size_t size, std::size_t count, std::string* text)
{
    try {
        text->append(data, size * count);
    } catch (const std::exception&) {
        return 0;
    }
    return size * count;
}

/// One request; what it hands to `function` is collected. `data` goes back to `data_restored`.
template <typename DataRestored>
std::pair<CURLcode, std::string> perform_collecting(curl_ptr& handle, CURLoption data,
                                                    DataRestored data_restored, CURLoption function)
{
    std::string text;
    const auto [code, reply] = scoped_request(handle)
                                   .setopt(data, &text, data_restored)
                                   .setopt(function, &collect, nullptr)
                                   .perform();
    return {code, std::move(text)};
}

} // namespace

slist::slist(std::initializer_list<std::string> entries)
{
    for (const auto& entry : entries) {
        const auto longer = curl_slist_append(list_.get(), entry.c_str());
        if (!longer)
            throw std::bad_alloc();
        static_cast<void>(list_.release());
        list_.reset(longer);
    }
}

scoped_request::~scoped_request()
{
    for (auto restorer = restorers_.rbegin(); restorer != restorers_.rend(); ++restorer)
        (*restorer)();
}

void scoped_request::restore_later(const std::function<void()>& restorer, turn when)
{
    try {
        if (when == turn::last)
            restorers_.push_front(restorer);
        else
            restorers_.push_back(restorer);
    } catch (...) {
        // Out of memory: what cannot be remembered is put back at once.
        restorer();
        throw;
    }
}

scoped_request&& scoped_request::seturl(const std::string& url)
{
    const std::function<void()> move_back =
        [&handle = handle_, saved = current_remote_url(handle_)] { unsafe_cd(handle, saved); };
    set_option(handle_, CURLOPT_URL, url.c_str());
    restore_later(move_back, turn::last);
    return std::move(*this);
}

std::pair<CURLcode, std::string> scoped_request::request_header() const
{
    return perform_collecting(handle_, CURLOPT_HEADERDATA, nullptr, CURLOPT_HEADERFUNCTION);
}

std::pair<CURLcode, std::string> scoped_request::request_body() const
{
    return perform_collecting(handle_, CURLOPT_WRITEDATA, stdout, CURLOPT_WRITEFUNCTION);
}

std::pair<CURLcode, long> scoped_request::request_quoted(const std::string& url,
                                                         slist commands) const
{
    return scoped_request(handle_)
        .seturl(url)
        .setopt(CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_NOCWD, CURLFTPMETHOD_MULTICWD)
        .setopt(CURLOPT_NOBODY, 1L, 0)
        .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
        .perform();
}

std::pair<CURLcode, long> scoped_request::request_post_quoted(slist commands) const
{
    // The commands go out ahead of the request here too.
    return scoped_request(handle_)
        .setopt(CURLOPT_NOBODY, 1L, 0)
        .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
        .perform();
}

std::pair<CURLcode, std::string> scoped_request::request_quoted_body(const std::string& url,
                                                                     slist commands) const
{
    return scoped_request(handle_)
        .seturl(url)
        .setopt(CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_NOCWD, CURLFTPMETHOD_MULTICWD)
        .setopt(CURLOPT_NOBODY, 1L, 0)
        .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
        .request_body();
}

std::pair<CURLcode, long> scoped_request::perform() const
{
    const auto code = handle_.perform();
    return {code, last_response_code(handle_)};
}

} // namespace tarnix::io::ftp::core
