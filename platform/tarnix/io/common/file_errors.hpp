#pragma once

#include <foundation/core/identifier.hpp>
#include <foundation/export.hpp>

#include <string>

/// The identifiers of the file layer. Their one or two arguments are the path and, where the
/// identifier does not say it already, the system's own reason.
namespace TARNIX::io::common::file {

struct TARNIX_PLATFORM_EXPORT PermissionDenied {};
struct TARNIX_PLATFORM_EXPORT NoSuchFile {};
struct TARNIX_PLATFORM_EXPORT NotRegularFile {};
struct TARNIX_PLATFORM_EXPORT OpenFailed {};
struct TARNIX_PLATFORM_EXPORT ReadFailed {};
struct TARNIX_PLATFORM_EXPORT WriteFailed {};
struct TARNIX_PLATFORM_EXPORT CloseFailed {};

using catalogue =
    foundation::core::except::catalogue<PermissionDenied, NoSuchFile, NotRegularFile, OpenFailed,
                                        ReadFailed, WriteFailed, CloseFailed>;

} // namespace TARNIX::io::common::file

namespace foundation::core::except {

template <literal Id, typename... Arguments>
using file_entry = identifier_entry<"TARNIX:io:common:file", Id, Arguments...>;

template <>
struct identifier<TARNIX::io::common::file::PermissionDenied>
    : file_entry<"PermissionDenied", std::u16string> {
};
template <>
struct identifier<TARNIX::io::common::file::NoSuchFile> : file_entry<"NoSuchFile", std::u16string> {
};
template <>
struct identifier<TARNIX::io::common::file::NotRegularFile>
    : file_entry<"NotRegularFile", std::u16string> {
};
template <>
struct identifier<TARNIX::io::common::file::OpenFailed>
    : file_entry<"OpenFailed", std::u16string, std::string> {
};
template <>
struct identifier<TARNIX::io::common::file::ReadFailed>
    : file_entry<"ReadFailed", std::u16string, std::string> {
};
template <>
struct identifier<TARNIX::io::common::file::WriteFailed>
    : file_entry<"WriteFailed", std::u16string, std::string> {
};
template <>
struct identifier<TARNIX::io::common::file::CloseFailed>
    : file_entry<"CloseFailed", std::u16string, std::string> {
};

} // namespace foundation::core::except
