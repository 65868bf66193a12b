#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::test {

/// What reached a server, in order. Safe to use from several threads.
class transcript {
public:
    struct command {
        int connection;
        std::string line;
    };

    void add_command(int connection, const std::string& line);
    void add_data(const std::string& bytes);
    void add_fault(const std::string& what);

    std::vector<command> commands() const;
    std::vector<std::string> data() const;
    /// What went wrong in the server itself.
    std::vector<std::string> faults() const;
    /// Forgets the commands and the data.
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<command> commands_;
    std::vector<std::string> data_;
    std::vector<std::string> faults_;
};

} // namespace tarnix::test
