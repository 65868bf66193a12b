#pragma once

#include <foundation/core/except.hpp>
#include <foundation/core/identifier.hpp>
#include <resource_core/base_msg_id.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <sstream>
#include <string>
#include <variant>

namespace tarnix::test {

/// The message identifier of `Tag` with these arguments, to compare with.
template <typename Tag, typename... Values>
resource_core::BaseMsgID id_of(const Values&... values)
{
    return foundation::core::except::make_message_id<Tag>(values...);
}

inline bool same_id(const resource_core::BaseMsgID& a, const resource_core::BaseMsgID& b)
{
    return a.component == b.component && a.id == b.id && a.arguments == b.arguments;
}

/// For failure messages: the error id and its arguments.
inline std::string to_text(const resource_core::BaseMsgID& message)
{
    std::ostringstream text;
    text << foundation::core::except::IMsgIDException::get_error_id(message) << '(';
    const char* separator = "";
    for (const auto& argument : message.arguments) {
        text << separator;
        std::visit([&text](const auto& value) { text << testing::PrintToString(value); }, argument);
        separator = ", ";
    }
    text << ')';
    return text.str();
}

/// Runs `statement`, which must raise exactly the identifier `expected`, arguments included.
template <typename Statement>
testing::AssertionResult raises_id(Statement statement, const char* source,
                                   const resource_core::BaseMsgID& expected)
{
    const auto failure = [&] {
        return testing::AssertionFailure()
               << source << "\n  should raise " << to_text(expected) << "\n  but ";
    };
    try {
        statement();
    } catch (const foundation::core::except::IMsgIDException& error) {
        if (!same_id(error.message_id(), expected))
            return failure() << "raised " << to_text(error.message_id());
        const auto error_id = foundation::core::except::IMsgIDException::get_error_id(expected);
        if (error.error_id() != error_id)
            return failure() << "calls itself " << error.error_id();
        return testing::AssertionSuccess();
    } catch (const std::exception& error) {
        return failure() << "raised an exception without identifier: " << error.what();
    } catch (...) {
        return failure() << "raised something that is no exception class";
    }
    return failure() << "raised nothing";
}

} // namespace tarnix::test

/// EXPECT_ERROR_ID(delete_folder(session(), "a"), id_of<ids::FolderNotEmpty>("a")): the statement
/// must raise an exception with that component, Id and arguments.
#define EXPECT_ERROR_ID(statement, expected)                                                       \
    EXPECT_TRUE(                                                                                   \
        ::tarnix::test::raises_id([&] { static_cast<void>(statement); }, #statement, (expected)))
