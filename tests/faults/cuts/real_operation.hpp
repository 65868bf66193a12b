#pragma once

#include "real_place.hpp"

#include <functional>
#include <string>
#include <vector>

namespace tarnix::test {

/// An operation of a session over a secured connection, and what may come of it when a connection
/// breaks, wherever that is. An outcome is what the caller gets (a value, or the kind of a
/// failure), and what has become of the files.
struct real_operation {
    std::string name;
    std::function<void(real_place&)> prepare;
    /// The way to where the operation begins; none when that is connecting itself.
    std::function<void(real_place&)> start;
    std::function<std::string(real_place&)> run;
    std::function<std::string(const real_place&)> effect;
    std::string success;
    std::vector<std::string> control;
    /// None for operations that make no data connection.
    std::vector<std::string> data{};
};

/// What a session does over FTP with TLS, and over SFTP.
std::vector<real_operation> ftps_operations();
std::vector<real_operation> sftp_operations();

} // namespace tarnix::test
