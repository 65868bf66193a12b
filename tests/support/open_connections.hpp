#pragma once

#include <mutex>
#include <set>
#include <string>

namespace tarnix::test {

/// The connections that are open, for ending them from other threads than their own.
class open_connections {
public:
    /// Lists a connection while it lives; ends before the descriptor is closed.
    class entry {
    public:
        entry(open_connections& all, int descriptor);
        ~entry();
        entry(const entry&) = delete;
        entry& operator=(const entry&) = delete;

    private:
        open_connections& all_;
        int descriptor_;
    };

    /// Sends `last_words` on each connection and shuts it down; all of it has reached the peers
    /// when this returns.
    void end_all(const std::string& last_words);

private:
    std::mutex mutex_;
    std::set<int> descriptors_;
};

} // namespace tarnix::test
