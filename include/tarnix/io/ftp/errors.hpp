#pragma once

#include <tarnix/io/ftp/export.hpp>

#include <foundation/core/identifier.hpp>
#include <tarnix/io/common/file_errors.hpp>

#include <string>

/// Failures of the session handle.
namespace TARNIX::io::ftp::curl {

struct TARNIX_FTP_EXPORT LibraryInitializationFailure {};
struct TARNIX_FTP_EXPORT CurlHandleInitializationFailure {};
struct TARNIX_FTP_EXPORT InvalidCurlHandle {};
struct TARNIX_FTP_EXPORT CurlHandleUnwrapFailed {};

} // namespace TARNIX::io::ftp::curl

/// Failures of operations, and the warnings.
namespace TARNIX::io::ftp::ftp {

struct TARNIX_FTP_EXPORT InternalError {};
struct TARNIX_FTP_EXPORT NoSuchDirectory {};
struct TARNIX_FTP_EXPORT NoConnection {};
struct TARNIX_FTP_EXPORT NoConnectionToStartingFolder {};
struct TARNIX_FTP_EXPORT BadLogin {};
struct TARNIX_FTP_EXPORT FTPError {};
struct TARNIX_FTP_EXPORT NotFound {};
struct TARNIX_FTP_EXPORT UploadFailed {};
struct TARNIX_FTP_EXPORT FileUnavailable {};
struct TARNIX_FTP_EXPORT DeleteFailed {};
struct TARNIX_FTP_EXPORT CouldNotCreateFolder {};
struct TARNIX_FTP_EXPORT FolderNotEmpty {};
struct TARNIX_FTP_EXPORT RemoveFolderFailed {};
struct TARNIX_FTP_EXPORT CouldNotDetermineHomeFolder {};
struct TARNIX_FTP_EXPORT CouldNotLoginToRemoteFolder {};

} // namespace TARNIX::io::ftp::ftp

namespace tarnix::io::ftp::core {

/// The tags of all identifiers that the library raises or warns with, under short names.
namespace ids {

using namespace TARNIX::io::ftp::curl; // NOLINT(google-build-using-namespace)
using namespace TARNIX::io::ftp::ftp;  // NOLINT(google-build-using-namespace)
using TARNIX::io::common::file::PermissionDenied;

using catalogue = foundation::core::except::catalogue<
    LibraryInitializationFailure, CurlHandleInitializationFailure, InvalidCurlHandle,
    CurlHandleUnwrapFailed, InternalError, NoSuchDirectory, NoConnection,
    NoConnectionToStartingFolder, BadLogin, FTPError, NotFound, UploadFailed, FileUnavailable,
    DeleteFailed, PermissionDenied, CouldNotCreateFolder, FolderNotEmpty, RemoveFolderFailed,
    CouldNotDetermineHomeFolder, CouldNotLoginToRemoteFolder>;

} // namespace ids

/// The exception of one identifier, to catch: `catch (const error<ids::BadLogin>&)`.
template <typename Tag>
using error = foundation::core::except::Exception<Tag, std::exception, void>;

} // namespace tarnix::io::ftp::core

/// The catalogue: component, Id and argument types of each.
namespace foundation::core::except {

template <literal Id>
using curl_entry = identifier_entry<"TARNIX:io:ftp:curl", Id>;
template <literal Id, typename... Arguments>
using ftp_entry = identifier_entry<"TARNIX:io:ftp:ftp", Id, Arguments...>;

namespace ids = tarnix::io::ftp::core::ids;

template <>
struct identifier<ids::LibraryInitializationFailure> : curl_entry<"LibraryInitializationFailure"> {
};
template <>
struct identifier<ids::CurlHandleInitializationFailure>
    : curl_entry<"CurlHandleInitializationFailure"> {
};
template <>
struct identifier<ids::InvalidCurlHandle> : curl_entry<"InvalidCurlHandle"> {
};
template <>
struct identifier<ids::CurlHandleUnwrapFailed> : curl_entry<"CurlHandleUnwrapFailed"> {
};

/// The step, then what went wrong in it.
template <>
struct identifier<ids::InternalError> : ftp_entry<"InternalError", std::string, std::string> {
};
/// The URL that could not be entered.
template <>
struct identifier<ids::NoSuchDirectory> : ftp_entry<"NoSuchDirectory", std::string> {
};
/// The URL or host, then the port in decimal.
template <>
struct identifier<ids::NoConnection> : ftp_entry<"NoConnection", std::string, std::string> {
};
template <>
struct identifier<ids::NoConnectionToStartingFolder>
    : ftp_entry<"NoConnectionToStartingFolder", std::string, std::string> {
};
/// The URL or host.
template <>
struct identifier<ids::BadLogin> : ftp_entry<"BadLogin", std::string> {
};
/// The server's reply code (from a file test: libcurl's code).
template <>
struct identifier<ids::FTPError> : ftp_entry<"FTPError", long long> {
};
/// The local path.
template <>
struct identifier<ids::NotFound> : ftp_entry<"NotFound", std::u16string> {
};
template <>
struct identifier<ids::UploadFailed> : ftp_entry<"UploadFailed", std::u16string> {
};
/// The remote path.
template <>
struct identifier<ids::FileUnavailable> : ftp_entry<"FileUnavailable", std::u16string> {
};
template <>
struct identifier<ids::DeleteFailed> : ftp_entry<"DeleteFailed", std::string> {
};
template <>
struct identifier<ids::CouldNotCreateFolder> : ftp_entry<"CouldNotCreateFolder", std::string> {
};
template <>
struct identifier<ids::FolderNotEmpty> : ftp_entry<"FolderNotEmpty", std::string> {
};
template <>
struct identifier<ids::RemoveFolderFailed> : ftp_entry<"RemoveFolderFailed", std::string> {
};
template <>
struct identifier<ids::CouldNotDetermineHomeFolder> : ftp_entry<"CouldNotDetermineHomeFolder"> {
};
template <>
struct identifier<ids::CouldNotLoginToRemoteFolder> : ftp_entry<"CouldNotLoginToRemoteFolder"> {
};

} // namespace foundation::core::except
