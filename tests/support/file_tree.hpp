#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// Folders and files in memory, by absolute path. Safe to use from several threads.
class file_tree {
public:
    /// With the root only.
    file_tree() = default;

    /// `name` seen from `folder`, with "." and ".." taken out; the root is "/".
    static std::string resolve(const std::string& folder, const std::string& name);

    bool is_folder(const std::string& path) const;
    bool is_file(const std::string& path) const;
    /// What is in the file; none when there is no such file.
    std::optional<std::string> read(const std::string& path) const;
    /// The same of a file that may still be on its way: waits for it for five seconds.
    std::optional<std::string> await(const std::string& path) const;
    /// Names in the folder, sorted.
    std::vector<std::string> names(const std::string& folder) const;

    /// Makes the folder and those above it.
    void add_folder(const std::string& path);
    /// Writes a file and makes the folders above it.
    void add_file(const std::string& path, const std::string& content);

    // What a server does on behalf of a client: false where a file system would refuse.
    bool write(const std::string& path, const std::string& content);
    bool make_folder(const std::string& path);
    bool remove_folder(const std::string& path);
    bool remove_file(const std::string& path);
    bool rename(const std::string& from, const std::string& to);

private:
    struct entry {
        bool is_folder;
        std::string content;
    };

    const entry* find(const std::string& path) const;
    std::optional<std::string> read_unlocked(const std::string& path) const;
    bool is_folder_unlocked(const std::string& path) const;
    bool is_empty_unlocked(const std::string& folder) const;
    void add_folder_unlocked(const std::string& path);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<std::string, entry> entries_{{"/", {true, {}}}};
};

} // namespace tarnix::test
