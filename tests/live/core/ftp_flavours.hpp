#pragma once

#include "core_session.hpp"

#include <filesystem>
#include <ostream>
#include <string>

namespace tarnix::test {

/// One way to talk FTP; what the operations do must not depend on it.
struct ftp_flavour {
    std::string name;
    std::string server;
    std::string connection_mode;
    std::string tls_mode;
};

inline std::ostream& operator<<(std::ostream& out, const ftp_flavour& flavour)
{
    return out << flavour.name;
}

/// A session that is connected to an empty login folder.
class connected_ftp : public core_session, public testing::WithParamInterface<ftp_flavour> {
protected:
    connected_ftp();

    const live_server& server() const { return server_; }
    std::filesystem::path root() const { return server_.root(); }
    /// The working folder's URL when nothing has moved the session.
    std::string root_url() const { return "ftp://127.0.0.1/" + root().string() + "/"; }

private:
    const live_server& server_;
};

inline const auto all_ftp_flavours =
    testing::Values(ftp_flavour{"passive", "vsftpd", "passive", "none"},
                    ftp_flavour{"active", "vsftpd", "active", "none"},
                    ftp_flavour{"tls", "vsftpd-tls", "passive", "strict"});

inline std::string name_of_flavour(const testing::TestParamInfo<ftp_flavour>& info)
{
    return info.param.name;
}

} // namespace tarnix::test
