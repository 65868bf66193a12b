#pragma once

#include <filesystem>
#include <stdexcept>

#include <sys/stat.h>

namespace tarnix::cli {

/// A file on this side that cannot be used; `what()` says which and why.
class local_file_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file that is being made: under another name beside the final one until it is complete, so
/// that the final name never shows a part of it.
class pending_file {
public:
    /// Makes the empty file. Raises local_file_error, also when `target` is there and is no regular
    /// file, or may not be written. A link is followed, also to a file that is not there yet.
    explicit pending_file(const std::filesystem::path& target);
    /// Removes the file unless it was committed.
    ~pending_file();
    pending_file(const pending_file&) = delete;
    pending_file& operator=(const pending_file&) = delete;

    const std::filesystem::path& path() const { return pending_; }

    /// Gives it the final name, in place of the file that had it.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path pending_;
};

/// The permissions of a file that replaces another: the same, but never those to run as another
/// user or group. Where the owner or the group changes, the new group gets no more than everybody
/// has.
mode_t mode_in_place_of(const struct stat& old, const struct stat& made);

/// The name to store `name` under, when `target` is a folder or ends in "/": a file in it.
std::filesystem::path local_target(const std::filesystem::path& target, const std::string& name);

/// Raises local_file_error unless the file can be read.
void check_readable(const std::filesystem::path& file);

} // namespace tarnix::cli
