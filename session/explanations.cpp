#include "explanations.hpp"

#include "paths.hpp"

namespace tarnix::ftp {

namespace {

bool is_about_the_name(const std::string& refusal)
{
    return kind_of_refusal(refusal, failure_kind::not_found) == failure_kind::not_found;
}

/// For an operation that the server refused, or that nothing is known of.
explanation refused(const replies& server)
{
    return {failure_kind::permission, server.refusal().value_or("the server refuses")};
}

const explanation lost_connection{failure_kind::connection, "the connection was lost"};

/// `otherwise` where the answer finds nothing wrong.
explanation from_answer(const answer& given, const explanation& otherwise)
{
    if (given.code == CURLE_OK || given.code == CURLE_WRITE_ERROR)
        return otherwise;
    return {kind_of(given.code, given.error), given.error};
}

/// A lost connection, and a refusal that is not about the name, need no looking at the name.
std::optional<explanation> plain_reason(remote_view& view, const replies& server)
{
    if (view.is_sftp() ? view.has_lost_connection() : server.lack_an_end())
        return lost_connection;
    const auto& refusal = server.refusal();
    if (!refusal || is_about_the_name(*refusal))
        return std::nullopt;
    return explanation{kind_of_refusal(*refusal, failure_kind::permission), *refusal};
}

/// What a transfer failed of when looking tells nothing. To be asked before the looks, because it
/// is the last request that knows of a lost connection; to be said after them, because libcurl ends
/// an SFTP connection after some refusals too.
explanation transfer_failure(remote_view& view, const replies& server,
                             const std::string& broken_off)
{
    if (view.is_sftp() && view.has_lost_connection())
        return {failure_kind::connection, "the connection was lost, or the server could not go on"};
    return server.refusal() ? refused(server) : explanation{failure_kind::transfer, broken_off};
}

const std::string broken_off = "the transfer broke off";

} // namespace

explanation explain_upload(remote_view& view, const std::string& path, const replies& server)
{
    const auto otherwise = transfer_failure(view, server, broken_off);
    if (!view.is_sftp())
        if (const auto plain = plain_reason(view, server))
            return *plain;
    const auto parent = parent_folder(path);
    if (!view.has_folder(parent))
        return {failure_kind::not_found, "there is no folder \"" + parent + '"'};
    if (view.has_folder(path))
        return {failure_kind::conflict, "there is a folder of that name"};
    return view.is_sftp()
               ? from_answer(view.ask(view.url(path), question::append_nothing), otherwise)
               : otherwise;
}

explanation explain_download(remote_view& view, const std::string& path, const replies& server)
{
    const auto otherwise =
        transfer_failure(view, server, broken_off + ", or the local file could not be written");
    if (!view.is_sftp())
        if (const auto plain = plain_reason(view, server))
            return *plain;
    if (!view.has(path))
        return {failure_kind::not_found, "there is no such file"};
    if (view.has_folder(path))
        return {failure_kind::conflict, "it is a folder"};
    return view.is_sftp() ? from_answer(view.ask(view.url(path), question::first_bytes), otherwise)
                          : otherwise;
}

explanation explain_new_folder(remote_view& view, const std::string& path, const replies& server)
{
    if (const auto plain = plain_reason(view, server))
        return *plain;
    if (view.has(path))
        return {failure_kind::conflict, "it exists already"};
    const auto parent = parent_folder(path);
    if (!view.has_folder(parent))
        return {failure_kind::not_found, "there is no folder \"" + parent + '"'};
    return refused(server);
}

explanation explain_removal(remote_view& view, const std::string& path, const replies& server)
{
    if (const auto plain = plain_reason(view, server))
        return *plain;
    if (!view.has_folder(path))
        return {failure_kind::not_found, "there is no such folder"};
    if (!view.names(path, "cannot look at \"" + path + '"').empty())
        return {failure_kind::conflict, "the folder is not empty"};
    return refused(server);
}

explanation explain_file_removal(remote_view& view, const std::string& path, const replies& server)
{
    if (const auto plain = plain_reason(view, server))
        return *plain;
    if (!view.has(path))
        return {failure_kind::not_found, "there is no such file"};
    if (view.has_folder(path))
        return {failure_kind::conflict, "it is a folder"};
    return refused(server);
}

explanation explain_entering(const replies& server)
{
    if (const auto& refusal = server.refusal())
        return {kind_of_refusal(*refusal, failure_kind::not_found), *refusal};
    return {failure_kind::connection, "the server does not say that it was entered"};
}

explanation explain_rename(remote_view& view, const std::string& to, const replies& server)
{
    // pure-ftpd's answer to every rename that fails, whatever the reason.
    const auto tells_nothing = server.refusal() && server.refusal()->starts_with("451");
    if (const auto plain = plain_reason(view, server); plain && !tells_nothing)
        return *plain;
    const auto parent = parent_folder(to);
    if (!view.has_folder(parent))
        return {failure_kind::not_found, "there is no folder \"" + parent + '"'};
    return refused(server);
}

} // namespace tarnix::ftp
