#include "raise.hpp"

#include <support/identifier_matchers.hpp>

#include <tarnix/host/standalone.hpp>

#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

/// Two identifiers of the same name in different components.
namespace one_component {
struct Same {};
struct Forward;
} // namespace one_component
namespace another_component {
struct Same {};
} // namespace another_component

namespace foundation::core::except {

template <>
struct identifier<one_component::Same> : identifier_entry<"one:component", "Same"> {
};
template <>
struct identifier<another_component::Same> : identifier_entry<"another:component", "Same"> {
};
template <>
struct identifier<one_component::Forward> : identifier_entry<"one:component", "Forward"> {
};

} // namespace foundation::core::except

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using foundation::core::except::IMsgIDException;
using resource_core::BaseMsgID;

template <typename Tag, typename... Values>
concept raisable = requires(const Values&... values)
{
    tarnix::io::ftp::core::raise<Tag>(values...);
};

/// Every argument has this type and value.
template <typename Value>
void expect_argument(const BaseMsgID& message, std::size_t index, const Value& value)
{
    ASSERT_GT(message.arguments.size(), index);
    const auto* held = std::get_if<Value>(&message.arguments[index]);
    ASSERT_NE(held, nullptr) << "argument " << index << " has another type";
    EXPECT_EQ(*held, value);
}

/// Raises the identifier and looks at all that is caught.
template <typename Tag, typename... Values>
BaseMsgID caught(const Values&... values)
{
    try {
        raise<Tag>(values...);
    } catch (const error<Tag>& raised) {
        EXPECT_EQ(typeid(raised), typeid(error<Tag>));
        EXPECT_EQ(raised.error_id(), raised.message_id().component + ":" + raised.message_id().id);
        EXPECT_EQ(raised.error_id(), raised.what());
        EXPECT_EQ(raised.message_id().arguments.capacity(), raised.message_id().arguments.size())
            << "reserved to the exact count";
        return raised.message_id();
    }
}

TEST(Raise, carries_component_id_and_arguments_of_the_catalogue)
{
    const auto message = caught<ids::NoConnection>("ftp://server", "21");
    EXPECT_EQ(message.component, "TARNIX:io:ftp:ftp");
    EXPECT_EQ(message.id, "NoConnection");
    ASSERT_EQ(message.arguments.size(), 2U);
    expect_argument<std::string>(message, 0, "ftp://server");
    expect_argument<std::string>(message, 1, "21");
}

TEST(Raise, stores_numbers_as_long_long)
{
    const auto message = caught<ids::FTPError>(550L);
    ASSERT_EQ(message.arguments.size(), 1U);
    expect_argument<long long>(message, 0, 550);
}

TEST(Raise, stores_local_paths_as_utf_16)
{
    const auto message = caught<ids::PermissionDenied>(std::u16string(u"a b"));
    ASSERT_EQ(message.arguments.size(), 1U);
    expect_argument<std::u16string>(message, 0, u"a b");
}

TEST(Raise, without_arguments_carries_none)
{
    EXPECT_TRUE(caught<ids::InvalidCurlHandle>().arguments.empty());
    EXPECT_TRUE(caught<ids::LibraryInitializationFailure>().arguments.empty());
    EXPECT_TRUE(caught<ids::CurlHandleInitializationFailure>().arguments.empty());
    EXPECT_TRUE(caught<ids::CurlHandleUnwrapFailed>().arguments.empty());
}

template <typename Base>
bool is_caught_as()
{
    try {
        raise<ids::BadLogin>("host");
    } catch (const Base&) {
        return true;
    } catch (...) {
        return false;
    }
}

TEST(Raise, is_caught_by_class_by_interface_and_as_a_standard_exception)
{
    EXPECT_TRUE(is_caught_as<error<ids::BadLogin>>());
    EXPECT_TRUE(is_caught_as<IMsgIDException>());
    EXPECT_TRUE(is_caught_as<std::exception>());
    EXPECT_TRUE(is_caught_as<boost::exception>());
    EXPECT_FALSE(is_caught_as<error<ids::NoConnection>>());
    EXPECT_FALSE(is_caught_as<error<ids::InvalidCurlHandle>>());
}

TEST(Raise, identifiers_of_the_same_name_in_two_components_are_two_classes)
{
    EXPECT_FALSE((std::is_same_v<error<one_component::Same>, error<another_component::Same>>));
    try {
        raise<another_component::Same>();
    } catch (const error<one_component::Same>&) {
        FAIL() << "caught as the other";
    } catch (const IMsgIDException& raised) {
        EXPECT_EQ(raised.error_id(), "another:component:Same");
    }
}

TEST(Raise, does_not_need_a_complete_tag)
{
    EXPECT_THROW(raise<one_component::Forward>(), error<one_component::Forward>);
}

TEST(Raise, records_no_source_location)
{
    try {
        raise<ids::FTPError>(1);
    } catch (const boost::exception& raised) {
        EXPECT_EQ(boost::get_error_info<boost::throw_function>(raised), nullptr);
        EXPECT_EQ(boost::get_error_info<boost::throw_file>(raised), nullptr);
        EXPECT_EQ(boost::get_error_info<boost::throw_line>(raised), nullptr);
    }
}

TEST(Raise, copies_what_it_was_built_from)
{
    BaseMsgID message{{std::string("a")}, "component", "id"};
    const error<ids::BadLogin> built(message);
    message.id = "changed";
    message.arguments.clear();
    EXPECT_EQ(built.message_id().id, "id");
    EXPECT_EQ(built.message_id().arguments.size(), 1U);
    EXPECT_EQ(built.error_id(), "component:id");
}

TEST(Raise, too_few_too_many_and_wrong_arguments_do_not_compile)
{
    EXPECT_TRUE((raisable<ids::InvalidCurlHandle>));
    EXPECT_FALSE((raisable<ids::InvalidCurlHandle, std::string>));

    EXPECT_TRUE((raisable<ids::BadLogin, std::string>));
    EXPECT_FALSE((raisable<ids::BadLogin>));
    EXPECT_FALSE((raisable<ids::BadLogin, std::u16string>));
    EXPECT_FALSE((raisable<ids::BadLogin, long>));
    EXPECT_FALSE((raisable<ids::BadLogin, std::string, std::string>));

    EXPECT_TRUE((raisable<ids::InternalError, std::string, std::string>));
    EXPECT_FALSE((raisable<ids::InternalError, std::string>));
    EXPECT_FALSE((raisable<ids::InternalError, std::string, long>));

    EXPECT_TRUE((raisable<ids::FTPError, long>));
    EXPECT_FALSE((raisable<ids::FTPError>));
    EXPECT_FALSE((raisable<ids::FTPError, std::string>));

    EXPECT_TRUE((raisable<ids::NotFound, std::u16string>));
    EXPECT_FALSE((raisable<ids::NotFound, std::string>));
    EXPECT_FALSE((raisable<ids::UploadFailed, std::string>));
    EXPECT_FALSE((raisable<ids::FileUnavailable, std::string>));
    EXPECT_FALSE((raisable<ids::PermissionDenied, std::string>));
    EXPECT_FALSE((raisable<ids::DeleteFailed, std::u16string>));
}

class warnings : public testing::Test {
protected:
    warnings()
        : handler_before_(host::set_warning_handler(
              [this](const BaseMsgID& message) { shown_.push_back(message); }))
    {
    }
    ~warnings() override { host::set_warning_handler(handler_before_); }

    std::vector<BaseMsgID> shown_;

private:
    host::warning_handler handler_before_;
};

TEST_F(warnings, go_to_the_host_without_arguments_and_interrupt_nothing)
{
    warn<ids::CouldNotDetermineHomeFolder>();
    warn<ids::CouldNotLoginToRemoteFolder>();
    ASSERT_EQ(shown_.size(), 2U);
    EXPECT_EQ(to_text(shown_[0]), "TARNIX:io:ftp:ftp:CouldNotDetermineHomeFolder()");
    EXPECT_EQ(to_text(shown_[1]), "TARNIX:io:ftp:ftp:CouldNotLoginToRemoteFolder()");
}

} // namespace
} // namespace tarnix::test
