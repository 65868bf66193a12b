#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarnix::cli {

/// A file on this side that cannot be used; `what()` says which and why.
class local_file_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The name to store `name` under, when `target` is a folder or ends in "/": a file in it.
std::filesystem::path local_target(const std::filesystem::path& target, const std::string& name);

/// Raises local_file_error unless the file can be read.
void check_readable(const std::filesystem::path& file);

} // namespace tarnix::cli
