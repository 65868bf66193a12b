#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/syst";

} // namespace

std::string syst(curl_ptr& handle)
{
    const function_scope scope{getLogger(), "std::string tarnix::io::ftp::core::syst(curl_ptr &)",
                               source, __LINE__};
    const slist commands{"SYST"};
    const auto [code, text] = scoped_request(handle)
                                  .setopt(CURLOPT_NOBODY, 1L, 0)
                                  .setopt(CURLOPT_PREQUOTE, commands.get(), nullptr)
                                  .request_header();
    write_record(level::protocol, "SYST response code: ", code);
    write_record(level::protocol, "SYST response text: ", text);
    return code == CURLE_OK ? text : std::string();
}

} // namespace tarnix::io::ftp::core
