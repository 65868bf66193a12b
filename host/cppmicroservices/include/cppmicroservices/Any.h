#pragma once

#include <cppmicroservices/detail/Visibility.h>

#include <any>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace cppmicroservices {
inline namespace bundled {

/// Raised by a cast to a type that the value does not have.
class CPPMICROSERVICES_BUNDLED_VISIBLE BadAnyCastException : public std::bad_cast {
public:
    const char* what() const noexcept override
    {
        return "cppmicroservices::BadAnyCastException: failed conversion using "
               "cppmicroservices::any_cast";
    }
};

/// A value of any copyable type, or none.
class Any {
public:
    Any() = default;

    template <typename Value,
              typename = std::enable_if_t<!std::is_same_v<std::decay_t<Value>, Any>>>
    // NOLINTNEXTLINE(google-explicit-constructor): properties are written as plain values
    Any(Value&& value) : value_(std::forward<Value>(value))
    {
    }

    bool Empty() const { return !value_.has_value(); }
    /// `typeid(void)` when empty.
    const std::type_info& Type() const { return value_.type(); }

private:
    template <typename Value>
    friend const Value* any_cast(const Any* operand);
    template <typename Value>
    friend Value* any_cast(Any* operand);

    std::any value_;
};

/// Null when the value is of another type.
template <typename Value>
const Value* any_cast(const Any* operand)
{
    return operand ? std::any_cast<Value>(&operand->value_) : nullptr;
}

template <typename Value>
Value* any_cast(Any* operand)
{
    return operand ? std::any_cast<Value>(&operand->value_) : nullptr;
}

/// The value; raises BadAnyCastException when it is of another type.
template <typename Value>
const Value& ref_any_cast(const Any& operand)
{
    const auto* value = any_cast<Value>(&operand);
    if (!value)
        throw BadAnyCastException();
    return *value;
}

template <typename Value>
Value& ref_any_cast(Any& operand)
{
    auto* value = any_cast<Value>(&operand);
    if (!value)
        throw BadAnyCastException();
    return *value;
}

template <typename Value>
Value any_cast(const Any& operand)
{
    return ref_any_cast<std::remove_cv_t<std::remove_reference_t<Value>>>(operand);
}

} // namespace bundled
} // namespace cppmicroservices
