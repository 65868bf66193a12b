#include <tarnix/io/ftp/errors.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using foundation::core::except::identifier;

constexpr auto ftp = "TARNIX:io:ftp:ftp";
constexpr auto curl = "TARNIX:io:ftp:curl";
constexpr auto file = "TARNIX:io:common:file";
using text = std::string;
using wide = std::u16string;
using number = long long;

template <typename Tag, typename... Arguments>
void expect_entry(const char* component, const char* id)
{
    EXPECT_EQ(identifier<Tag>::component, component);
    EXPECT_EQ(identifier<Tag>::id, id);
    EXPECT_TRUE((std::is_same_v<typename identifier<Tag>::arguments, std::tuple<Arguments...>>))
        << id;
    EXPECT_TRUE(std::is_empty_v<Tag>) << id;
}

TEST(Catalogue, states_component_id_and_argument_types_of_each_identifier)
{
    expect_entry<ids::LibraryInitializationFailure>(curl, "LibraryInitializationFailure");
    expect_entry<ids::CurlHandleInitializationFailure>(curl, "CurlHandleInitializationFailure");
    expect_entry<ids::InvalidCurlHandle>(curl, "InvalidCurlHandle");
    expect_entry<ids::CurlHandleUnwrapFailed>(curl, "CurlHandleUnwrapFailed");
    expect_entry<ids::InternalError, text, text>(ftp, "InternalError");
    expect_entry<ids::NoSuchDirectory, text>(ftp, "NoSuchDirectory");
    expect_entry<ids::NoConnection, text, text>(ftp, "NoConnection");
    expect_entry<ids::NoConnectionToStartingFolder, text, text>(ftp,
                                                                "NoConnectionToStartingFolder");
    expect_entry<ids::BadLogin, text>(ftp, "BadLogin");
    expect_entry<ids::FTPError, number>(ftp, "FTPError");
    expect_entry<ids::NotFound, wide>(ftp, "NotFound");
    expect_entry<ids::UploadFailed, wide>(ftp, "UploadFailed");
    expect_entry<ids::FileUnavailable, wide>(ftp, "FileUnavailable");
    expect_entry<ids::DeleteFailed, text>(ftp, "DeleteFailed");
    expect_entry<ids::PermissionDenied, wide>(file, "PermissionDenied");
    expect_entry<ids::CouldNotCreateFolder, text>(ftp, "CouldNotCreateFolder");
    expect_entry<ids::FolderNotEmpty, text>(ftp, "FolderNotEmpty");
    expect_entry<ids::RemoveFolderFailed, text>(ftp, "RemoveFolderFailed");
    expect_entry<ids::CouldNotDetermineHomeFolder>(ftp, "CouldNotDetermineHomeFolder");
    expect_entry<ids::CouldNotLoginToRemoteFolder>(ftp, "CouldNotLoginToRemoteFolder");
}

template <typename... Tags>
constexpr std::size_t size_of(foundation::core::except::catalogue<Tags...>)
{
    return sizeof...(Tags);
}

TEST(Catalogue, holds_all_eighteen_failures_and_both_warnings)
{
    EXPECT_EQ(size_of(ids::catalogue{}), 20U);
}

TEST(Catalogue, tags_stand_in_namespaces_that_mirror_their_components)
{
    EXPECT_TRUE((std::is_same_v<ids::InvalidCurlHandle, TARNIX::io::ftp::curl::InvalidCurlHandle>));
    EXPECT_TRUE((std::is_same_v<ids::NoSuchDirectory, TARNIX::io::ftp::ftp::NoSuchDirectory>));
    EXPECT_TRUE(
        (std::is_same_v<ids::PermissionDenied, TARNIX::io::common::file::PermissionDenied>));
}

} // namespace
} // namespace tarnix::test
