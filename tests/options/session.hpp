#pragma once

#include <support/identifier_matchers.hpp>
#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace tarnix::test {

using namespace tarnix::io::ftp::core;

using transcript = std::vector<std::string>;

/// The calls of several steps, one after another.
inline transcript steps(std::initializer_list<transcript> parts)
{
    transcript all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// A request without a body.
inline transcript probing()
{
    return {"NOBODY=1", "perform", "NOBODY=0"};
}

/// `unsafe_cd`, also as the move back at the end of a scope.
inline transcript moving_to(const std::string& url)
{
    return steps({{"URL=" + url}, probing()});
}

inline transcript collecting_headers()
{
    return {"HEADERDATA=set", "HEADERFUNCTION=set", "perform", "HEADERFUNCTION=null",
            "HEADERDATA=null"};
}

inline transcript collecting_body()
{
    return {"WRITEDATA=set", "WRITEFUNCTION=set", "perform", "WRITEFUNCTION=null",
            "WRITEDATA=stdout"};
}

/// Commands at the URL where the session is.
inline transcript commanding(const std::string& commands)
{
    return steps(
        {{"NOBODY=1", "QUOTE=" + commands}, collecting_headers(), {"QUOTE=null", "NOBODY=0"}});
}

inline transcript asking_pwd()
{
    return commanding("[PWD]");
}

/// Commands at a URL, then the way back.
inline transcript commanding_at(const std::string& url, const std::string& commands,
                                const std::string& back)
{
    return steps({{"URL=" + url, "FTP_FILEMETHOD=2", "NOBODY=1", "QUOTE=" + commands, "perform",
                   "QUOTE=null", "NOBODY=0", "FTP_FILEMETHOD=1"},
                  moving_to(back)});
}

/// A session whose requests are answered by a script. It stands at ftp://server/home/u/.
class scripted_session : public testing::Test {
protected:
    scripted_session() { start_at("ftp://server/home/u/"); }

    void start_at(const std::string& url)
    {
        recorder_.start_at(url);
        recorder_.take_all();
    }

    option_recorder recorder_;
    curl_ptr handle_{false};
};

} // namespace tarnix::test
