#pragma once

#include "contents.hpp"
#include "place.hpp"

#include <filesystem>
#include <functional>
#include <string>

namespace tarnix::test {

/// All that is below the login folder on the server, without the working folder itself; empty when
/// that is what there was before.
std::string server_changes(place& here);

/// The local file of the transfers.
std::filesystem::path local_file(const place& here);

/// What has become of the files on both sides.
std::string changes_and_local_files(place& here);

// What there is at the start, in the working folder.

using preparation = std::function<void(place&)>;

void nothing(place& here);
void file_to_send(place& here);
preparation remote_file(const std::string& name, const std::string& content);
preparation remote_folder(const std::string& name);

/// Makes the working folder too, and remembers what there is.
preparation prepared(const preparation& what);

} // namespace tarnix::test
