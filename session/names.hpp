#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <filesystem>
#include <string>

namespace tarnix::ftp {

/// As the texts of failures show names.
std::string quoted(const std::string& path);

/// Names as the library takes them. They raise `invalid_input` or a failure of the local file when
/// the name is not UTF-8.
io::ftp::core::ustring utf16_name(const std::string& path);
io::ftp::core::ustring utf16_path(const std::filesystem::path& local);

/// The server's name of a folder, once it is known to be fit for commands. Raises when it is not.
std::string usable_folder(const std::string& name);

} // namespace tarnix::ftp
