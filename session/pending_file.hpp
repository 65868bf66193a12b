#pragma once

#include <filesystem>

#include <sys/stat.h>

namespace tarnix::ftp {

/// A local file that is being made: under another name beside the final one until it is complete,
/// so that the final name never shows a part of it.
class pending_file {
public:
    /// Makes the empty file. Raises a local_file failure, also when `target` is there and is no
    /// regular file, or may not be written. A link is followed, also to a file that is not there
    /// yet.
    explicit pending_file(const std::filesystem::path& target);
    /// Removes the file unless it was committed.
    ~pending_file();
    pending_file(const pending_file&) = delete;
    pending_file& operator=(const pending_file&) = delete;

    const std::filesystem::path& path() const { return pending_; }

    /// Gives it the final name, in place of the file that had it. Raises a local_file failure.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path pending_;
};

/// The permissions of a file that replaces another: the same, but never those to run as another
/// user or group. Where the owner or the group changes, the new group gets no more than everybody
/// has.
mode_t mode_in_place_of(const struct stat& old, const struct stat& made);

} // namespace tarnix::ftp
