#pragma once

#include "explanations.hpp"

#include <foundation/core/except.hpp>

#include <curl/curl.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarnix::ftp {

/// What is wrong with a local file whose upload broke off after `sent` bytes and that was `size`
/// bytes long before; none when it can be read as far as libcurl may have read ahead. Text uploads
/// have no `size`: they do not send byte by byte.
std::optional<explanation> explain_source(const std::filesystem::path& local,
                                          std::optional<std::uintmax_t> size, curl_off_t sent);

/// What is to be said of a local file that could not be written: its name, and the reason where
/// one more try at the end of `written`, which holds what has arrived, tells.
std::string explain_target(const std::filesystem::path& local,
                           const std::filesystem::path& written);
/// The same with the reason that the library gives for it.
std::string explain_target(const std::filesystem::path& local,
                           const foundation::core::except::IMsgIDException& error);

} // namespace tarnix::ftp
