#pragma once

#include <support/loopback_socket.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// What becomes of one reply of a server that would otherwise behave.
struct reply_fault {
    /// The command is not carried out.
    bool is_refused = false;
    /// What is sent, made of the reply that is due (none for a refused command). Without it the
    /// due reply.
    std::function<std::string(const std::string& due)> words{};
    pacing how{};
    /// The words again and again, until the client has gone.
    bool repeats = false;
    enum class ending { none, close, reset };
    /// Of the control connection, after the words.
    ending then = ending::none;
};

/// What the server does with the data connection of a transfer, once that is announced.
enum class data_conduct {
    usual,
    unopened, ///< neither awaited nor made; the transfer never ends
    idle,     ///< opened, and nothing moves
    reset,    ///< opened, and broken at once
    endless   ///< the bytes are sent again and again
};

/// The steps of all conversations of one server, counted, and what goes wrong at which of them. A
/// step is the greeting, a command, or the reply that ends a transfer. Safe to use from several
/// threads.
class step_faults {
public:
    /// Nothing goes wrong any more, and the next step is number 0.
    void begin();
    void disturb(std::size_t step, const reply_fault& fault);
    /// That one and all that follow.
    void disturb_from(std::size_t step, const reply_fault& fault);
    /// The names of the steps so far.
    std::vector<std::string> steps() const;

    /// Counts one step.
    std::optional<reply_fault> next(const std::string& name);

private:
    mutable std::mutex mutex_;
    std::vector<std::string> steps_;
    std::map<std::size_t, reply_fault> single_;
    std::size_t first_of_all_ = 0;
    std::optional<reply_fault> all_;
};

} // namespace tarnix::test
