#pragma once

#include <foundation/core/except.hpp>
#include <resource_core/base_msg_id.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace foundation::core::except {

/// A text that can stand as a template argument.
template <std::size_t Size>
struct literal {
    // NOLINTNEXTLINE(google-explicit-constructor): written as a plain string in the catalogue
    constexpr literal(const char (&text)[Size]) { std::copy_n(text, Size, characters.begin()); }
    constexpr std::string_view view() const { return {characters.data(), Size - 1}; }

    std::array<char, Size> characters{};
};

/// What a catalogue states of one identifier: its component, its Id and the types of its message
/// arguments in their order (each one of the alternatives of `BaseMsgID::argument`).
template <literal Component, literal Id, typename... Arguments>
struct identifier_entry {
    static constexpr std::string_view component = Component.view();
    static constexpr std::string_view id = Id.view();
    using arguments = std::tuple<Arguments...>;
};

/// Specialised, by deriving from `identifier_entry`, for each tag of a catalogue.
template <typename Tag>
struct identifier;

/// Names a list of tags, for code that walks a whole catalogue.
template <typename... Tags>
struct catalogue {
};

template <typename Tag, typename Arguments = typename identifier<Tag>::arguments>
struct message_factory;

template <typename Tag, typename... Arguments>
struct message_factory<Tag, std::tuple<Arguments...>> {
    static resource_core::BaseMsgID make(const Arguments&... values)
    {
        resource_core::BaseMsgID message;
        message.arguments.reserve(sizeof...(values));
        message.component = identifier<Tag>::component;
        message.id = identifier<Tag>::id;
        (message.arguments.emplace_back(values), ...);
        return message;
    }
};

template <typename Tag, typename... Values>
concept message_arguments_of = requires(const Values&... values)
{
    message_factory<Tag>::make(values...);
};

/// The message identifier of `Tag` with these arguments. Too few, too many or arguments of other
/// types than the catalogue's do not compile.
template <typename Tag, typename... Values>
requires message_arguments_of<Tag, Values...> resource_core::BaseMsgID
make_message_id(const Values&... values)
{
    return message_factory<Tag>::make(values...);
}

/// Throws the exception of `Tag`. A plain throw: no source location is recorded.
template <typename Tag, typename... Values>
requires message_arguments_of<Tag, Values...>
[[noreturn]] void raise(const Values&... values)
{
    throw Exception<Tag, std::exception, void>(make_message_id<Tag>(values...));
}

} // namespace foundation::core::except
