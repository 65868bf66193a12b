#pragma once

#include <filesystem>
#include <string>

namespace tarnix::fuzz {

/// A file that is nowhere but in memory, with a name by which it can be opened.
class memory_file {
public:
    explicit memory_file(const std::string& content);
    ~memory_file();
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;

    std::filesystem::path path() const;
    std::string content() const;

private:
    int descriptor_;
};

} // namespace tarnix::fuzz
