#pragma once

#include <foundation/export.hpp>
#include <resource_core/base_msg_id.hpp>

#include <boost/exception/exception.hpp>

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace foundation::core::except {

/// What every failure that carries a message identifier can be caught as. It records no source
/// location: the identifier and its arguments are all that a user is shown.
class TARNIX_PLATFORM_EXPORT IMsgIDException : public virtual boost::exception {
public:
    virtual const resource_core::BaseMsgID& message_id() const noexcept = 0;
    virtual const std::string& error_id() const noexcept = 0;

    /// The component, a ":" and the Id.
    static std::string get_error_id(const resource_core::BaseMsgID& message)
    {
        return message.component + ":" + message.id;
    }

protected:
    ~IMsgIDException() noexcept override = default;
};

template <typename Tag, typename Base, typename Extra>
class Exception;

/// The exception of one identifier: `Tag` is never looked into, so it may be incomplete.
template <typename Tag, typename Base>
class TARNIX_PLATFORM_EXPORT Exception<Tag, Base, void> : public IMsgIDException, public Base {
public:
    explicit Exception(resource_core::BaseMsgID message)
        : message_id_(std::move(message)), error_id_(get_error_id(message_id_))
    {
    }

    const resource_core::BaseMsgID& message_id() const noexcept override { return message_id_; }
    const std::string& error_id() const noexcept override { return error_id_; }

    /// The error id, so that a handler that knows only `std::exception` still says which failure.
    const char* what() const noexcept override { return error_id_.c_str(); }

private:
    resource_core::BaseMsgID message_id_;
    std::string error_id_;
};

/// The host's report of exhausted memory.
class TARNIX_PLATFORM_EXPORT bad_alloc : public std::bad_alloc {
public:
    const char* what() const noexcept override { return "foundation::core::except::bad_alloc"; }
};

} // namespace foundation::core::except
