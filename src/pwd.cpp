#include "raise.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <boost/algorithm/string/replace.hpp>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/pwd";

[[noreturn]] void raise_pwd_error(const std::string& what)
{
    raise<ids::InternalError>("PWD", what);
}

} // namespace

std::string current_remote_url(curl_ptr& handle)
{
    const function_scope scope{getLogger(),
                               "std::string tarnix::io::ftp::core::current_remote_url(curl_ptr &)",
                               source, __LINE__};
    handle.throw_if_null();
    const char* url = nullptr;
    curl_easy_getinfo(handle.get(), CURLINFO_EFFECTIVE_URL, &url);
    return url ? url : "";
}

std::optional<std::string> match_response_code(const std::string& text, const std::string& code)
{
    if (code.empty())
        return std::nullopt;
    for (const auto line : split_string(text, "\r\n"))
        if (line.starts_with(code))
            return std::string(line);
    return std::nullopt;
}

std::string parse_pwd_response(const std::string& line)
{
    if (line.size() < 3)
        raise_pwd_error("PWD response code is too short");
    const auto status = line.substr(0, 3);
    if (status != "257")
        raise_pwd_error("PWD operation failed or returned unrecognized status code (" + status +
                        ") from response: " + line);
    const auto open = line.find('"');
    if (open == std::string::npos)
        raise_pwd_error("Could not find opening quote in PWD response: " + line);
    const auto close = line.rfind('"');
    if (close == open)
        raise_pwd_error("Could not find closing quote in PWD response: " + line);
    // From the first quote to the last: doubled quotes inside stay doubled.
    const auto path = line.substr(open + 1, close - open - 1);
    return boost::algorithm::replace_all_copy(path, "//", "/");
}

std::string pwd(curl_ptr& handle)
{
    const function_scope scope{getLogger(), "std::string tarnix::io::ftp::core::pwd(curl_ptr &)",
                               source, __LINE__};
    const slist commands{"PWD"};
    const auto [code, text] = scoped_request(handle)
                                  .setopt(CURLOPT_NOBODY, 1L, 0)
                                  .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
                                  .request_header();
    if (code != CURLE_OK)
        raise_pwd_error("Could not get PWD response");
    write_record(level::protocol, "PWD response code: ", code);
    write_record(level::protocol, "PWD response text: ", text);
    const auto line = match_response_code(text, "257");
    if (!line)
        raise_pwd_error("Could not match any server responses to the PWD command: " + text);
    const auto path = parse_pwd_response(*line);
    const auto folder = path.find_first_not_of('/') == std::string::npos ? "/" : path;
    write_record(level::protocol, "PWD parsed as: ", folder);
    return folder;
}

} // namespace tarnix::io::ftp::core
