#pragma once

#include "scene.hpp"

#include <support/scripted_server.hpp>

#include <cstddef>
#include <optional>
#include <string>

namespace tarnix::test {

/// With an FTP server in this process.
class scripted_scene : public scene {
public:
    explicit scripted_scene(std::size_t size = 3000);

    std::string host() const override { return server_->address(); }
    unsigned short port() const override { return server_->port(); }

private:
    void start();
    void set_server() override;
    void introduce(assignment&) const override {}
    bool has_folder(const std::string& name) const override;
    bool has_file(const std::string& name) const override;
    bool has_file(const std::string& name, const std::string& content) const override;

    std::optional<scripted_server> server_;
    int runs_ = 0;
};

} // namespace tarnix::test
