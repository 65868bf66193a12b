#pragma once

#include <support/scripted_server.hpp>

namespace tarnix::test {

constexpr auto file_content = "12345\n67890\n";

/// What every server of these tests holds in its login folder /home/u.
inline void add_content(scripted_server& server)
{
    server.tree().add_file("/home/u/file", file_content);
    server.tree().add_folder("/home/u/folder");
}

} // namespace tarnix::test
