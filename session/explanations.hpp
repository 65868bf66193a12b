#pragma once

#include "remote_view.hpp"

#include <string>

namespace tarnix::ftp {

/// Why an operation of the library failed, found out afterwards: its exceptions do not tell.
struct explanation {
    failure_kind kind;
    std::string reason;
};

/// `server` holds the replies while the operation ran. They raise when the server cannot be asked.
explanation explain_upload(remote_view& view, const std::string& path, const replies& server);
explanation explain_download(remote_view& view, const std::string& path, const replies& server);
explanation explain_new_folder(remote_view& view, const std::string& path, const replies& server);
explanation explain_removal(remote_view& view, const std::string& path, const replies& server);
explanation explain_file_removal(remote_view& view, const std::string& path, const replies& server);
/// Of a folder that could be entered before.
explanation explain_entering(const replies& server);
/// When both names were looked at before.
explanation explain_rename(remote_view& view, const std::string& to, const replies& server);

} // namespace tarnix::ftp
