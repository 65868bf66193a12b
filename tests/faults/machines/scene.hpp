#pragma once

#include "assignment.hpp"

#include <support/temporary_folder.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace tarnix::test {

/// A server with all that the operations need on it, set anew for each run, and a folder for local
/// files.
class scene {
public:
    virtual ~scene() = default;
    scene(const scene&) = delete;
    scene& operator=(const scene&) = delete;

    /// Puts everything in its place for the next run, and tells the assignment where that is, but
    /// for the `host` and `port` that it gives itself.
    void set(assignment& given);

    virtual std::string host() const = 0;
    virtual unsigned short port() const = 0;

    // Of the last run.

    const std::string& content() const { return content_; }
    const temporary_folder& folder() const { return folder_; }
    const std::string& serial() const { return serial_; }
    std::filesystem::path fetched_file() const { return folder_ / ("fetched-" + serial_); }
    /// Whether the server or the fetched file is as the operation should have left it, which is
    /// told from the end of its name.
    bool took_effect(const std::string& operation) const;
    /// Names of local files that nobody asked for.
    std::vector<std::string> left_over() const;
    /// Empties the folder but for the file to upload.
    void clean_up();

protected:
    /// What is uploaded, and what is downloaded, is so long. Numbers of runs, which are part of
    /// names, begin behind `first`.
    scene(std::size_t size, int first);

private:
    virtual void set_server() = 0;
    /// Who logs in how.
    virtual void introduce(assignment& given) const = 0;
    /// Names are those in the login folder.
    virtual bool has_folder(const std::string& name) const = 0;
    virtual bool has_file(const std::string& name) const = 0;
    virtual bool has_file(const std::string& name, const std::string& content) const = 0;

    const std::string content_;
    temporary_folder folder_;
    int run_;
    std::string serial_;
};

} // namespace tarnix::test
