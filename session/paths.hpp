#pragma once

#include <string>

namespace tarnix::ftp {

/// `path` as seen from the absolute `folder`: absolute, with "." and ".." resolved, without empty
/// segments, and without a "/" at the end unless it is the root.
std::string absolute_path(const std::string& folder, const std::string& path);

/// The folder that holds an absolute path; the root holds itself.
std::string parent_folder(const std::string& path);

/// `path` as it must stand between double quotes in libcurl's SFTP commands.
std::string escape_quotes(const std::string& path);

/// The folder name in a server's answer to PWD, in which quotes are written twice.
std::string undouble_quotes(const std::string& name);

} // namespace tarnix::ftp
