#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace tarnix::test {

/// Collects what went wrong: the same failure at many points is one message.
class failed_points {
public:
    /// `text` went wrong in that stage of the conversation, cut after so many bytes.
    void add(const std::string& stage, const std::string& text, std::size_t after);
    /// As failures of the test.
    void report_all(const std::string& title) const;

private:
    std::map<std::string, std::vector<std::size_t>> points_;
};

} // namespace tarnix::test
