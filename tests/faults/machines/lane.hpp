#pragma once

#include "subject_process.hpp"

#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// One subject with a server and a folder of its own, so that several may work side by side: a
/// transfer may stand still for a second inside libcurl.
class lane {
public:
    /// What is uploaded, and what is downloaded, is so long.
    explicit lane(std::size_t size = 3000);

    /// Puts everything in its place on the server, and runs the assignment but for its `folder`
    /// and `serial`, which are chosen here, and its `host` and
    /// `port`, unless they are given.
    outcome run(assignment given);
    /// The same in the process that later ones are forked from.
    void warm_up(assignment given);

    // Of the last run.

    const std::string& content() const { return content_; }
    const temporary_folder& folder() const { return folder_; }
    scripted_server& server() { return *server_; }
    std::filesystem::path fetched_file() const { return folder_ / ("fetched-" + serial_); }
    /// Whether the server or the fetched file is as the operation should have left it.
    bool took_effect(const std::string& operation);
    /// Names of local files that nobody asked for.
    std::vector<std::string> left_over() const;
    /// Empties the folder but for the file to upload.
    void clean_up();

private:
    void set_stage();

    const std::string content_;
    std::optional<scripted_server> server_;
    temporary_folder folder_;
    subject_process subject_;
    int runs_ = 0;
    std::string serial_;
};

} // namespace tarnix::test
