#pragma once

#include <curl/curl.h>

#include <string>
#include <vector>

/// What the one easy handle of a program that links this was told: it stands between all libraries
/// and libcurl's setter, and needs no memory for that.
namespace tarnix::test::options {

/// Takes the values of now for comparison, and forgets what was refused.
void remember();
/// The options whose setting libcurl refused since then, at least once.
std::vector<std::string> refused();
/// The options whose last setting was refused, so that they are as if never set.
std::vector<std::string> lost();
/// The options that have another value than then, as "NOBODY=1". Texts are not shown, functions and
/// addresses of unknown origin are "set".
std::vector<std::string> changed();

} // namespace tarnix::test::options
