#include <support/option_recorder.hpp>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

// Macros of the same names that only count arguments.
#undef curl_easy_setopt
#undef curl_easy_getinfo

namespace tarnix::test {

namespace {

thread_local option_recorder* the_recorder = nullptr;

template <typename Function>
Function real(const char* name)
{
    const auto symbol = dlsym(RTLD_NEXT, name);
    if (!symbol)
        throw std::runtime_error(std::string("libcurl has no ") + name);
    return reinterpret_cast<Function>(symbol);
}

CURLcode real_setopt(CURL* handle, CURLoption option, auto value)
{
    static const auto function = real<CURLcode (*)(CURL*, CURLoption, ...)>("curl_easy_setopt");
    return function(handle, option, value);
}

const curl_easyoption& description_of(CURLoption option)
{
    const auto found = curl_easy_option_by_id(option);
    if (!found)
        throw std::runtime_error("libcurl knows no option " + std::to_string(option));
    return *found;
}

std::string text_of(const curl_slist* list)
{
    std::string text;
    for (; list; list = list->next)
        text += '[' + std::string(list->data) + ']';
    return text;
}

constexpr const char* query_prefix = "ask ";

} // namespace

scripted_answer folder_is(const std::string& path)
{
    return {.reply = 257, .headers = {"257 \"" + path + "\" is the current directory\r\n"}};
}

option_recorder::option_recorder(requests kind) : kind_(kind)
{
    if (the_recorder)
        throw std::logic_error("there is a recorder already");
    name(nullptr, "null");
    name(stdin, "stdin");
    name(stdout, "stdout");
    name(reinterpret_cast<const void*>(&std::fread), "fread");
    name(reinterpret_cast<const void*>(&std::fwrite), "fwrite");
    the_recorder = this;
}

option_recorder::~option_recorder()
{
    the_recorder = nullptr;
    EXPECT_EQ(answers_.size(), 0U) << "answers that no request took";
}

option_recorder* option_recorder::current()
{
    return the_recorder;
}

void option_recorder::answer(std::vector<scripted_answer> answers)
{
    std::move(answers.begin(), answers.end(), std::back_inserter(answers_));
}

void option_recorder::start_at(const std::string& url, long reply)
{
    url_ = url;
    reply_ = reply;
}

std::vector<std::string> option_recorder::take_all()
{
    return std::exchange(calls_, {});
}

std::vector<std::string> option_recorder::take()
{
    auto calls = take_all();
    std::erase_if(calls, [](const std::string& call) { return call.starts_with(query_prefix); });
    return calls;
}

std::string option_recorder::value_of(CURLoption option) const
{
    const auto found = settings_.find(option);
    return found == settings_.end() ? "untouched" : found->second.value;
}

std::map<std::string, std::string> option_recorder::settings() const
{
    std::map<std::string, std::string> all;
    for (const auto& [option, now] : settings_)
        all[description_of(option).name] = now.value;
    return all;
}

const void* option_recorder::pointer_of(CURLoption option) const
{
    const auto found = settings_.find(option);
    return found == settings_.end() ? nullptr : found->second.pointer;
}

std::string option_recorder::name_of(const void* pointer) const
{
    const auto found = names_.find(pointer);
    return found == names_.end() ? "set" : found->second;
}

void option_recorder::option_set(CURLoption option, const std::string& value, const void* pointer)
{
    settings_[option] = {value, pointer};
    if (option == CURLOPT_URL)
        url_ = value;
    write_down(std::string(description_of(option).name) + '=' + value);
}

bool option_recorder::deliver(CURLoption function, CURLoption data, const std::string& text) const
{
    const auto callback = function_of<curl_write_callback>(function);
    if (!callback)
        return true;
    auto bytes = text;
    return callback(bytes.data(), 1, bytes.size(), const_cast<void*>(pointer_of(data))) ==
           bytes.size();
}

CURLcode option_recorder::take_upload()
{
    const auto callback = function_of<curl_read_callback>(CURLOPT_READFUNCTION);
    const auto data = const_cast<void*>(pointer_of(CURLOPT_READDATA));
    uploaded_.clear();
    std::string buffer(16, '\0');
    for (;;) {
        const auto count = callback(buffer.data(), 1, buffer.size(), data);
        if (count == CURL_READFUNC_ABORT)
            return CURLE_ABORTED_BY_CALLBACK;
        if (count > buffer.size())
            return CURLE_READ_ERROR;
        if (count == 0)
            return CURLE_OK;
        uploaded_.append(buffer, 0, count);
    }
}

CURLcode option_recorder::perform()
{
    scripted_answer now;
    if (!answers_.empty()) {
        now = std::move(answers_.front());
        answers_.pop_front();
    }
    if (now.during)
        now.during();
    reply_ = now.reply;
    if (now.url)
        url_ = *now.url;
    for (const auto& line : now.headers)
        if (!deliver(CURLOPT_HEADERFUNCTION, CURLOPT_HEADERDATA, line))
            return CURLE_WRITE_ERROR;
    for (const auto& piece : now.body)
        if (!deliver(CURLOPT_WRITEFUNCTION, CURLOPT_WRITEDATA, piece))
            return CURLE_WRITE_ERROR;
    if (now.code == CURLE_OK && value_of(CURLOPT_UPLOAD) == "1")
        return take_upload();
    return now.code;
}

CURLcode option_recorder::query(CURLINFO info, void* result)
{
    if (queries_refused_)
        return CURLE_UNKNOWN_OPTION;
    if (info == CURLINFO_RESPONSE_CODE)
        *static_cast<long*>(result) = reply_;
    else if (info == CURLINFO_EFFECTIVE_URL)
        *static_cast<const char**>(result) = url_.c_str();
    else
        throw std::runtime_error("no answer to query " + std::to_string(info));
    return CURLE_OK;
}

} // namespace tarnix::test

using tarnix::test::option_recorder;
using tarnix::test::real;

// The last named parameter of libcurl's variadic functions is an enum, which is passed as what it
// is promoted to.
#pragma GCC diagnostic ignored "-Wvarargs"

extern "C" {

CURL* curl_easy_init()
{
    if (const auto recorder = option_recorder::current()) {
        recorder->write_down("init");
        if (recorder->refuses_handles())
            return nullptr;
    }
    return real<CURL* (*)()>("curl_easy_init")();
}

void curl_easy_cleanup(CURL* handle)
{
    if (const auto recorder = option_recorder::current())
        recorder->write_down("cleanup");
    real<void (*)(CURL*)>("curl_easy_cleanup")(handle);
}

CURLcode curl_easy_setopt(CURL* handle, CURLoption option, ...)
{
    using namespace tarnix::test;
    const auto recorder = option_recorder::current();
    const auto write_down = [&](const std::string& value, const void* pointer) {
        if (recorder)
            recorder->option_set(option, value, pointer);
    };
    const auto kind = description_of(option).type;
    va_list arguments;
    va_start(arguments, option);
    CURLcode code = CURLE_OK;
    if (kind == CURLOT_LONG || kind == CURLOT_VALUES) {
        const auto value = va_arg(arguments, long);
        write_down(std::to_string(value), nullptr);
        code = real_setopt(handle, option, value);
    } else if (kind == CURLOT_OFF_T) {
        const auto value = va_arg(arguments, curl_off_t);
        write_down(std::to_string(value), nullptr);
        code = real_setopt(handle, option, value);
    } else {
        const auto value = va_arg(arguments, void*);
        if (value && kind == CURLOT_STRING)
            write_down(static_cast<const char*>(value), value);
        else if (value && kind == CURLOT_SLIST)
            write_down(text_of(static_cast<const curl_slist*>(value)), value);
        else
            write_down(recorder ? recorder->name_of(value) : "", value);
        code = real_setopt(handle, option, value);
    }
    va_end(arguments);
    return code;
}

CURLcode curl_easy_perform(CURL* handle)
{
    if (const auto recorder = option_recorder::current()) {
        recorder->write_down("perform");
        if (recorder->is_scripted())
            return recorder->perform();
    }
    return real<CURLcode (*)(CURL*)>("curl_easy_perform")(handle);
}

CURLcode curl_easy_getinfo(CURL* handle, CURLINFO info, ...)
{
    va_list arguments;
    va_start(arguments, info);
    const auto result = va_arg(arguments, void*);
    va_end(arguments);
    if (const auto recorder = option_recorder::current()) {
        recorder->write_down(std::string(tarnix::test::query_prefix) +
                             (info == CURLINFO_RESPONSE_CODE ? "RESPONSE_CODE" : "EFFECTIVE_URL"));
        if (recorder->is_scripted())
            return recorder->query(info, result);
    }
    return real<CURLcode (*)(CURL*, CURLINFO, ...)>("curl_easy_getinfo")(handle, info, result);
}

} // extern "C"
