#pragma once

#include "assignment.hpp"

#include <tarnix/ftp/session.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace tarnix::test {

/// Where an operation runs.
struct site {
    explicit site(const assignment& given)
        : server(given),
          host(given.host),
          folder(given.folder),
          local_name(given.local),
          serial(std::to_string(given.serial))
    {
    }

    io::ftp::core::curl_ptr& connected() { return *handle; }
    /// The file to upload, and the one to download into.
    std::filesystem::path source() const { return folder / (is_usual() ? "data" : local_name); }
    std::filesystem::path target() const
    {
        return folder / (is_usual() ? "fetched-" + serial : local_name);
    }
    bool is_usual() const { return local_name.empty(); }

    assignment server; ///< how to speak to it
    std::string host;
    std::filesystem::path folder;
    std::string local_name;
    std::string serial;
    std::optional<io::ftp::core::curl_ptr> handle;
    std::optional<ftp::session> session;
};

/// One operation of the library, of the session layer or of the host.
struct operation {
    enum class stage {
        alone, ///< there is not even the host
        bare,
        handle, ///< a session handle, connected
        session
    };

    const char* name;
    stage begins_with;
    std::string (*run)(site&);
};

const operation& find_operation(const std::string& name);

/// Connects what `stage` says.
void prepare(site& place, operation::stage stage);

/// Uses what is there once more: a fresh connect of a handle, a look around of a session.
std::string use_again(site& place);

} // namespace tarnix::test
