#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::test {

/// What one request gives when it is answered without a network.
struct scripted_answer {
    CURLcode code = CURLE_OK;
    long reply = 0;
    std::vector<std::string> headers{}; ///< each handed to the header function
    std::vector<std::string> body{};    ///< each handed to the write function
    std::function<void()> during{};     ///< runs inside the request, before any data; may throw
    std::optional<std::string> url{};   ///< what libcurl reports as the URL afterwards
};

/// What the server answers to PWD.
scripted_answer folder_is(const std::string& path);

/// Stands between the library and libcurl in a test program that links it: while one exists, each
/// call of `curl_easy_init`, `_setopt`, `_perform`, `_getinfo` and `_cleanup` on the thread that
/// made it is written down. Options always reach the real handle; requests and queries only with
/// `requests::real`.
///
/// A call is written as "NOBODY=1", "URL=ftp://a/", "QUOTE=[RNFR a][RNTO b]", "perform", "init" or
/// "cleanup"; pointers are "null", a known name ("stdout", "fread", ...) or "set".
class option_recorder {
public:
    enum class requests { scripted, real };

    explicit option_recorder(requests kind = requests::scripted);
    /// An answer that no request took is a failure of the test.
    ~option_recorder();
    option_recorder(const option_recorder&) = delete;
    option_recorder& operator=(const option_recorder&) = delete;

    /// The answers of the coming requests, in order. A request without one succeeds, brings
    /// nothing and leaves reply code 0.
    void answer(std::vector<scripted_answer> answers);
    /// What the session's URL and last reply code are at the start.
    void start_at(const std::string& url, long reply = 0);
    /// From now on `curl_easy_getinfo` fails and writes nothing.
    void refuse_queries() { queries_refused_ = true; }
    /// From now on `curl_easy_init` gives null.
    void refuse_handles() { handles_refused_ = true; }
    /// How `pointer` is written.
    void name(const void* pointer, const std::string& text) { names_[pointer] = text; }

    /// What was written down since the last call; with `take_all` the queries ("ask
    /// RESPONSE_CODE") too.
    std::vector<std::string> take();
    std::vector<std::string> take_all();
    /// The value that `option` has now; "untouched" when nothing set it.
    std::string value_of(CURLoption option) const;
    /// The values of all options that were set, by name.
    std::map<std::string, std::string> settings() const;
    const void* pointer_of(CURLoption option) const;
    /// The function that `option` has now; the caller knows its type.
    template <typename Function>
    Function function_of(CURLoption option) const
    {
        return reinterpret_cast<Function>(const_cast<void*>(pointer_of(option)));
    }
    /// What the read function gave to the last upload.
    const std::string& uploaded() const { return uploaded_; }

    // What the functions of libcurl turn to.
    static option_recorder* current();
    bool refuses_handles() const { return handles_refused_; }
    void write_down(const std::string& call) { calls_.push_back(call); }
    void option_set(CURLoption option, const std::string& value, const void* pointer);
    std::string name_of(const void* pointer) const;
    bool is_scripted() const { return kind_ == requests::scripted; }
    CURLcode perform();
    CURLcode query(CURLINFO info, void* result);

private:
    struct setting {
        std::string value;
        const void* pointer;
    };

    bool deliver(CURLoption function, CURLoption data, const std::string& text) const;
    CURLcode take_upload();

    requests kind_;
    std::vector<std::string> calls_;
    std::map<CURLoption, setting> settings_;
    std::map<const void*, std::string> names_;
    std::deque<scripted_answer> answers_;
    std::string url_;
    std::string uploaded_;
    long reply_ = 0;
    bool queries_refused_ = false;
    bool handles_refused_ = false;
};

} // namespace tarnix::test
