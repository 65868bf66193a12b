#include <tarnix/host/standalone.hpp>

#include <foundation/core/except.hpp>

#include <boost/locale/utf.hpp>
#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace tarnix::host {

using resource_core::BaseMsgID;

namespace {

struct entry {
    std::string_view component;
    std::string_view id;
    std::string_view text;
};

constexpr std::string_view curl = "TARNIX:io:ftp:curl";
constexpr std::string_view ftp = "TARNIX:io:ftp:ftp";
constexpr std::string_view file = "TARNIX:io:common:file";

/// What happened, and what the user can look at. {1} and {2} stand for the arguments.
constexpr std::array catalogue{
    entry{curl, "LibraryInitializationFailure",
          "The transfer library is not available: the host offers no libcurl initializer. Check "
          "that the host is running before a session is made."},
    entry{curl, "CurlHandleInitializationFailure",
          "The transfer library could not make a session. Check that there is memory left."},
    entry{curl, "InvalidCurlHandle",
          "This session is closed or was never opened. Connect again to use it."},
    entry{curl, "CurlHandleUnwrapFailed",
          "The value does not hold an FTP session. Check that it is a connection object."},
    entry{ftp, "InternalError",
          "An unexpected condition ended the operation, in the step \"{1}\": {2}. Check that the "
          "server can still be reached, and connect again."},
    entry{ftp, "NoSuchDirectory",
          "The folder \"{1}\" could not be entered. Check that it exists on the server and that "
          "you may use it."},
    entry{ftp, "NoConnection",
          "No connection to \"{1}\" on port {2}. Check the host name, the port, your network and "
          "proxy settings, and that the server is running."},
    entry{ftp, "NoConnectionToStartingFolder",
          "No connection to \"{1}\" on port {2}, or its starting folder could not be entered. "
          "Check the host name, the port and the folder's name, and that you may use the folder."},
    entry{ftp, "BadLogin",
          "The server \"{1}\" refused the login. Check the user name, and the password or key."},
    entry{ftp, "FTPError",
          "The server refused the request with reply code {1}. Check the names in the request and "
          "what you may do on the server."},
    entry{ftp, "NotFound",
          "The local file \"{1}\" could not be opened for reading. Check that it exists and is a "
          "file, not a folder."},
    entry{ftp, "UploadFailed",
          "The file \"{1}\" could not be uploaded. Check that you may write to the folder on the "
          "server, that the server has space left, and that the connection is up."},
    entry{ftp, "FileUnavailable",
          "The server does not give out the file \"{1}\". Check its name, and that you may read "
          "it."},
    entry{ftp, "DeleteFailed",
          "The file \"{1}\" could not be deleted on the server. Check its name, and that you may "
          "delete it."},
    entry{ftp, "CouldNotCreateFolder",
          "The folder \"{1}\" could not be created on the server. Check that its parent exists, "
          "that the name is still free, and that you may write there."},
    entry{ftp, "FolderNotEmpty",
          "The server refused to remove the folder \"{1}\". Check that it is empty, that it "
          "exists, and that you may remove it."},
    entry{ftp, "RemoveFolderFailed",
          "The folder \"{1}\" could not be removed on the server. Check that it exists, that it is "
          "empty, and that you may remove it."},
    entry{ftp, "CouldNotDetermineHomeFolder",
          "The server did not name your home folder; the session starts in the root folder. Check "
          "the folder before you work with relative names."},
    entry{ftp, "CouldNotLoginToRemoteFolder",
          "The folder asked for could not be entered; the session starts in the folder that the "
          "server chose. Check that the folder exists and that you may use it."},
    entry{file, "PermissionDenied",
          "You may not open the file \"{1}\". Check its permissions and those of its folders."},
    entry{file, "NoSuchFile",
          "There is no file \"{1}\". Check the name and that all its folders exist."},
    entry{file, "NotRegularFile",
          "\"{1}\" is not a file but a folder, a pipe or a device. Check the name."},
    entry{file, "OpenFailed", "The file \"{1}\" could not be opened: {2}."},
    entry{file, "ReadFailed", "The file \"{1}\" could not be read: {2}."},
    entry{file, "WriteFailed",
          "The file \"{1}\" could not be written: {2}. Check that there is space left."},
    entry{file, "CloseFailed",
          "The file \"{1}\" could not be closed, so its end may be missing: {2}."},
};

/// UTF-8, with U+FFFD for each unit that belongs to no character.
template <typename Char>
std::string readable(const std::basic_string<Char>& text)
{
    using namespace boost::locale::utf;
    constexpr code_point replacement = 0xFFFD;
    std::string result;
    const auto* position = text.data();
    const auto* const end = position + text.size();
    while (position != end) {
        const auto* const start = position;
        auto character = utf_traits<Char>::decode(position, end);
        if (character == illegal || character == incomplete) {
            character = replacement;
            position = start + 1;
        }
        utf_traits<char>::encode(character, std::back_inserter(result));
    }
    return result;
}

std::string readable(long long number)
{
    return std::to_string(number);
}

std::string argument_text(const BaseMsgID::argument& argument)
{
    return std::visit([](const auto& value) { return readable(value); }, argument);
}

/// The codes that are no FTP replies: none arrived at all, or the number is libcurl's.
std::string ftp_error_without_reply(long long code)
{
    if (code == 0)
        return "The server did not answer the request. Check that it can still be reached and that "
               "the name in the request exists on it.";
    return "The request failed: " + std::string(curl_easy_strerror(static_cast<CURLcode>(code))) +
           " (libcurl code " + std::to_string(code) + "). Check the connection, and connect again.";
}

std::string fill_in(std::string_view text, const std::vector<BaseMsgID::argument>& arguments)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '{') {
            result += text[i];
            continue;
        }
        // The texts above have one digit and a closing brace here.
        const auto index = static_cast<std::size_t>(text[i + 1] - '1');
        result += index < arguments.size() ? argument_text(arguments[index]) : "?";
        i += 2;
    }
    return result;
}

std::string unknown_text(const BaseMsgID& message)
{
    using foundation::core::except::IMsgIDException;
    auto result = readable(IMsgIDException::get_error_id(message));
    const char* separator = ": ";
    for (const auto& argument : message.arguments) {
        result += separator + argument_text(argument);
        separator = ", ";
    }
    return result;
}

} // namespace

std::string message_text(const BaseMsgID& message)
{
    const auto* const found =
        std::find_if(catalogue.begin(), catalogue.end(), [&](const entry& candidate) {
            return candidate.component == message.component && candidate.id == message.id;
        });
    if (found == catalogue.end())
        return unknown_text(message);
    if (message.component == ftp && message.id == "FTPError" && message.arguments.size() == 1) {
        const auto* code = std::get_if<long long>(&message.arguments.front());
        if (code && *code >= 0 && *code < 100)
            return ftp_error_without_reply(*code);
    }
    return fill_in(found->text, message.arguments);
}

} // namespace tarnix::host
