#pragma once

#include <support/failure_kinds.hpp>

#include <string>
#include <type_traits>
#include <vector>

namespace tarnix::test {

// What operations return, as text.

std::string text_of(bool value);
std::string text_of(long value);
std::string text_of(const std::string& value);
std::string text_of(const std::vector<std::string>& names);

/// "done" where nothing is returned.
template <typename Call>
std::string value_of(Call call)
{
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        return "done";
    } else {
        return text_of(call());
    }
}

/// The kind; with the text where that is not "`task`...: reason" in one line, for one of the tasks.
std::string text_of(const ftp::failure& failure, const std::vector<std::string>& tasks);

/// The value of an operation of a session, or the kind of its failure.
template <typename Call>
std::string said_by_session(Call call, const std::vector<std::string>& tasks = {"cannot "})
{
    try {
        return value_of(call);
    } catch (const ftp::failure& failure) {
        return text_of(failure, tasks);
    }
}

/// How much of a listing arrived.
std::string part_of(const std::string& listing, const std::string& arrived);

} // namespace tarnix::test
