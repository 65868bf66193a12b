#include "option_values.hpp"

#include <dlfcn.h>

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// A macro of the same name that only counts arguments.
#undef curl_easy_setopt

namespace tarnix::test::options {

namespace {

constexpr std::size_t kinds = 5; // libcurl numbers options by 10000 for each kind of value
constexpr std::size_t numbers = 500;

struct setting {
    CURLoption option = CURLOPT_LASTENTRY;
    curl_easytype type = CURLOT_LONG;
    std::uint64_t value = 0;
    bool was_refused = false;
    bool is_lost = false;
};

using settings = std::array<setting, kinds * numbers>;

settings current;
settings remembered;

std::uint64_t hash_of(const char* text)
{
    constexpr std::uint64_t offset = 14695981039346656037U;
    constexpr std::uint64_t prime = 1099511628211U;
    auto hash = offset;
    for (; *text; ++text)
        hash = (hash ^ static_cast<unsigned char>(*text)) * prime;
    return hash;
}

std::string text_of(const setting& one)
{
    if (one.type == CURLOT_LONG || one.type == CURLOT_VALUES || one.type == CURLOT_OFF_T)
        return std::to_string(static_cast<std::int64_t>(one.value));
    if (one.value == 0)
        return "null";
    if (one.type == CURLOT_STRING)
        return "text " + std::to_string(one.value);
    const auto is = [&](auto* known) {
        return one.value == reinterpret_cast<std::uintptr_t>(known);
    };
    if (is(stdin))
        return "stdin";
    if (is(stdout))
        return "stdout";
    if (is(&std::fread))
        return "fread";
    return is(&std::fwrite) ? "fwrite" : "set";
}

std::vector<std::string> names_with(bool setting::*mark)
{
    std::vector<std::string> names;
    for (const auto& one : current)
        if (one.*mark)
            names.emplace_back(curl_easy_option_by_id(one.option)->name);
    return names;
}

} // namespace

void remember()
{
    for (auto& one : current)
        one.was_refused = false;
    remembered = current;
}

std::vector<std::string> refused()
{
    return names_with(&setting::was_refused);
}

std::vector<std::string> lost()
{
    return names_with(&setting::is_lost);
}

std::vector<std::string> changed()
{
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < current.size(); ++i) {
        const auto& now = current[i];
        if (now.option == CURLOPT_LASTENTRY ||
            (remembered[i].option == now.option && remembered[i].value == now.value))
            continue;
        texts.push_back(std::string(curl_easy_option_by_id(now.option)->name) + '=' + text_of(now));
    }
    return texts;
}

} // namespace tarnix::test::options

// The last named parameter of libcurl's variadic functions is an enum, which is passed as what it
// is promoted to.
#pragma GCC diagnostic ignored "-Wvarargs"

extern "C" [[gnu::visibility("default")]] CURLcode curl_easy_setopt(CURL* handle, CURLoption option,
                                                                    ...)
{
    using namespace tarnix::test::options;
    static const auto function = reinterpret_cast<CURLcode (*)(CURL*, CURLoption, ...)>(
        ::dlsym(RTLD_NEXT, "curl_easy_setopt"));
    const auto* const description = curl_easy_option_by_id(option);
    if (!description)
        std::abort();
    auto& kept = current.at(option / 10000 * numbers + option % 10000);
    kept.option = option;
    kept.type = description->type;
    va_list arguments;
    va_start(arguments, option);
    auto code = CURLE_OK;
    if (kept.type == CURLOT_LONG || kept.type == CURLOT_VALUES) {
        const auto value = va_arg(arguments, long);
        kept.value = static_cast<std::uint64_t>(value);
        code = function(handle, option, value);
    } else if (kept.type == CURLOT_OFF_T) {
        const auto value = va_arg(arguments, curl_off_t);
        kept.value = static_cast<std::uint64_t>(value);
        code = function(handle, option, value);
    } else {
        auto* const value = va_arg(arguments, void*);
        kept.value = kept.type == CURLOT_STRING && value ? hash_of(static_cast<const char*>(value))
                                                         : reinterpret_cast<std::uintptr_t>(value);
        code = function(handle, option, value);
    }
    va_end(arguments);
    kept.is_lost = code != CURLE_OK;
    kept.was_refused = kept.was_refused || kept.is_lost;
    return code;
}
