#pragma once

#include "scene.hpp"

#include <support/live_server.hpp>

#include <cstddef>
#include <string>

namespace tarnix::test {

/// Who is spoken to, how, and what proves that it is the right one.
struct counterpart {
    std::string kind;   ///< of server, as `running_server` knows it
    std::string scheme; ///< of the URL
    /// A fingerprint, "SHA256:...", or what the server's description calls the file of authorities
    /// or of known host keys; empty for the system's authorities.
    std::string proof;
};

/// With a real server, which several of these may share.
class live_scene : public scene {
public:
    /// `number` tells those that share the server apart. For the main thread.
    live_scene(const counterpart& who, int number, std::size_t size = 3000);

    std::string host() const override { return server_.host(); }
    unsigned short port() const override { return static_cast<unsigned short>(server_.port()); }

private:
    void set_server() override;
    void introduce(assignment& given) const override;
    bool has_folder(const std::string& name) const override;
    bool has_file(const std::string& name) const override;
    bool has_file(const std::string& name, const std::string& content) const override;

    const live_server& server_;
    counterpart who_;
};

} // namespace tarnix::test
