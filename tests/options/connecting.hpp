#pragma once

#include "session.hpp"

#include <tarnix/host/standalone.hpp>

#include <string>
#include <vector>

namespace tarnix::test {

/// A fresh session, and the warnings that it caused (error ids; one with arguments is marked).
class connecting_session : public testing::Test {
protected:
    connecting_session()
        : handler_before_(
              host::set_warning_handler([this](const resource_core::BaseMsgID& message) {
                  warnings_.push_back(to_text(message));
              }))
    {
        recorder_.take_all();
    }
    ~connecting_session() override { host::set_warning_handler(handler_before_); }

    option_recorder recorder_;
    curl_ptr handle_{false};
    std::vector<std::string> warnings_;

private:
    host::warning_handler handler_before_;
};

} // namespace tarnix::test
