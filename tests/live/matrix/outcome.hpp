#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnix::test {

/// Results as text.
std::string said(bool answer);
std::string said(long number);
std::string said(const std::string& text);
/// In alphabetical order.
std::string said(std::vector<std::string> names);
std::string said(std::optional<std::string> text);

/// What `operation` returned, or the identifier or the kind of failure that it raised. The text of
/// a failure goes to `details`.
std::string outcome_of(const std::function<std::string()>& operation, std::string& details);

/// `text` with each `what` replaced.
std::string replaced(std::string text, const std::string& what, const std::string& by);

} // namespace tarnix::test
