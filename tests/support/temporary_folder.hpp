#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tarnix::test {

/// A folder of this test only, removed with all in it at the end.
class temporary_folder {
public:
    temporary_folder();
    ~temporary_folder();
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// The bytes of a file. Raises `std::runtime_error` when there is none.
std::string read_bytes(const std::filesystem::path& path);

/// Makes or replaces a file and returns its path.
std::filesystem::path write_bytes(const std::filesystem::path& path, std::string_view bytes);

} // namespace tarnix::test
