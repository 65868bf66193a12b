#pragma once

#include <filesystem>
#include <string>

namespace tarnix::test {

/// What the transfers move.
extern const std::string the_text;

/// "whole", "part" or "empty", as much of the text as there is; any other content as it is.
std::string content_of(const std::string& bytes, const std::string& whole = the_text);

/// The local file of the transfers.
std::filesystem::path local_file_in(const std::filesystem::path& folder);

/// As in ", local whole", with other files there by name.
std::string local_files(const std::filesystem::path& folder, const std::string& whole = the_text);

} // namespace tarnix::test
