#include "outcome.hpp"

#include "scene.hpp"

#include <support/failure_kinds.hpp>
#include <support/identifier_matchers.hpp>
#include <tarnix/ftp/errors.hpp>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <fl/i18n/ustring_conversion.hpp>

#include <algorithm>
#include <exception>

namespace tarnix::test {

namespace {

std::string text_of(const resource_core::BaseMsgID& message)
{
    std::vector<std::string> arguments;
    for (const auto& argument : message.arguments) {
        if (const auto* number = std::get_if<long long>(&argument))
            arguments.push_back(std::to_string(*number));
        else if (const auto* text = std::get_if<std::string>(&argument))
            arguments.push_back(*text);
        else
            arguments.push_back(fl::i18n::ustring_to_utf8(std::get<std::u16string>(argument)));
    }
    return message.id + '(' + boost::algorithm::join(arguments, ", ") + ')';
}

} // namespace

std::string said(bool answer)
{
    return answer ? "yes" : "no";
}

std::string said(long number)
{
    return std::to_string(number);
}

std::string said(const std::string& text)
{
    return shown(text);
}

std::string said(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    return '[' + boost::algorithm::join(names, ", ") + ']';
}

std::string said(std::optional<std::string> text)
{
    return text ? said(*text) : "none";
}

std::string outcome_of(const std::function<std::string()>& operation, std::string& details)
{
    try {
        return operation();
    } catch (const ftp::failure& failure) {
        details = failure.what();
        return std::string("fails: ") + name_of(failure.kind());
    } catch (const ftp::invalid_input& refusal) {
        details = refusal.what();
        return "refused";
    } catch (const foundation::core::except::IMsgIDException& error) {
        return "raises " + text_of(error.message_id());
    }
}

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    boost::algorithm::replace_all(text, what, by);
    return text;
}

} // namespace tarnix::test
