#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace tarnix::test {

/// What each check finds in the login folder, and what is different there afterwards:
///
///     file     "content", which the server's user may change
///     empty    ""
///     lines    "one\r\ntwo\n"
///     secret   "hidden", which the server's user may not read
///     bare/    an empty folder
///     full/    with inner, "inside"
///     locked/  with kept, "kept"; the server's user may not change anything in it
///     closed/  which the server's user may not enter
class scene {
public:
    /// The folder must be empty.
    explicit scene(std::filesystem::path folder);

    /// For example "-file, +new/, empty=text", in order of names; "" for no difference.
    std::string changes() const;

private:
    using things = std::map<std::string, std::string>;

    things look() const;

    std::filesystem::path folder_;
    things before_;
};

/// Makes a file that the server's user may change.
void put_file(const std::filesystem::path& path, const std::string& content);

/// Bytes as a check shows them: quoted, or the size and a digest of many.
std::string shown(const std::string& bytes);

} // namespace tarnix::test
