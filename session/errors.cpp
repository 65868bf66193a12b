#include "text_checks.hpp"

#include <tarnix/ftp/errors.hpp>

#include <tarnix/io/ftp/errors.hpp>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tarnix::ftp {

namespace {

namespace except = foundation::core::except;
namespace ids = tarnix::io::ftp::core::ids;

template <typename Tag>
constexpr std::string_view id_of = except::identifier<Tag>::id;

constexpr std::array<std::pair<std::string_view, failure_kind>, 13> kinds{{
    {id_of<ids::InternalError>, failure_kind::transfer},
    {id_of<ids::NoSuchDirectory>, failure_kind::not_found},
    {id_of<ids::NoConnection>, failure_kind::connection},
    {id_of<ids::NoConnectionToStartingFolder>, failure_kind::connection},
    {id_of<ids::BadLogin>, failure_kind::login},
    {id_of<ids::FTPError>, failure_kind::transfer},
    {id_of<ids::NotFound>, failure_kind::local_file},
    {id_of<ids::UploadFailed>, failure_kind::transfer},
    {id_of<ids::FileUnavailable>, failure_kind::not_found},
    {id_of<ids::DeleteFailed>, failure_kind::permission},
    {id_of<ids::CouldNotCreateFolder>, failure_kind::permission},
    {id_of<ids::FolderNotEmpty>, failure_kind::conflict},
    {id_of<ids::RemoveFolderFailed>, failure_kind::permission},
}};

std::optional<failure_kind> kind_of(const resource_core::BaseMsgID& message)
{
    if (message.component == except::identifier<ids::PermissionDenied>::component)
        return failure_kind::local_file;
    if (message.component != except::identifier<ids::InternalError>::component)
        return std::nullopt;
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&](const auto& entry) { return entry.first == message.id; });
    return found == kinds.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

failure::failure(failure_kind kind, const std::string& text)
    : std::runtime_error(one_line(text)), kind_(kind)
{
}

std::optional<failure_kind> kind_of(const std::exception& error)
{
    if (const auto* own = dynamic_cast<const failure*>(&error))
        return own->kind();
    if (const auto* identified = dynamic_cast<const except::IMsgIDException*>(&error))
        return kind_of(identified->message_id());
    return std::nullopt;
}

} // namespace tarnix::ftp
