#pragma once

#include "core_session.hpp"

#include <filesystem>
#include <string>

namespace tarnix::test {

constexpr bool binary = false;
constexpr bool as_text = true;

/// Every byte value, in runs that no line-end conversion leaves alone; longer than libcurl's
/// buffers, and no multiple of them.
inline std::string awkward_bytes()
{
    std::string bytes;
    while (bytes.size() < 1'000'003) {
        bytes += static_cast<char>(bytes.size() % 256);
        bytes += static_cast<char>(bytes.size() / 256 % 256);
        bytes += "\n\r\n\r";
    }
    return bytes;
}

/// A binary upload to "remote" in the working folder, which is `root`, and a download of it keep
/// every byte.
inline void expect_all_bytes_kept(core::curl_ptr& session, const std::filesystem::path& root,
                                  const temporary_folder& local)
{
    const auto bytes = awkward_bytes();
    const auto original = write_bytes(local / "original", bytes);
    core::send_file(session, original.u16string(), u"remote", binary);
    EXPECT_TRUE(read_bytes(root / "remote") == bytes) << "the uploaded file differs";
    const auto copy = local / "copy";
    core::receive_file(session, u"remote", copy.u16string(), binary);
    EXPECT_TRUE(read_bytes(copy) == bytes) << "the downloaded file differs";
}

/// An empty file arrives empty on both sides, also in place of another.
inline void expect_empty_file_kept(core::curl_ptr& session, const std::filesystem::path& root,
                                   const temporary_folder& local)
{
    const auto original = write_bytes(local / "original", "");
    core::send_file(session, original.u16string(), u"remote", binary);
    EXPECT_EQ(read_bytes(root / "remote"), "");
    const auto copy = write_bytes(local / "copy", "old content");
    core::receive_file(session, u"remote", copy.u16string(), binary);
    EXPECT_EQ(read_bytes(copy), "");
}

} // namespace tarnix::test
