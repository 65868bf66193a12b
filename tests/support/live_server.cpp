#include <support/live_server.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarnix::test {

namespace {

using std::chrono::steady_clock;

constexpr auto start_limit = std::chrono::seconds(60);
constexpr auto stop_limit = std::chrono::seconds(20);
constexpr auto kill_limit = std::chrono::seconds(5);

class descriptor {
public:
    descriptor() = default;
    explicit descriptor(int number) : number_(number) {}
    descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor& operator=(descriptor&& other) noexcept
    {
        close();
        number_ = std::exchange(other.number_, -1);
        return *this;
    }
    ~descriptor() { close(); }

    int number() const { return number_; }
    void close()
    {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }

private:
    int number_ = -1;
};

std::pair<descriptor, descriptor> make_pipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    return {descriptor(ends[0]), descriptor(ends[1])};
}

/// True when there is something to read, or nothing more ever.
bool readable(const descriptor& source, steady_clock::time_point deadline)
{
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waited{source.number(), POLLIN, 0};
        const auto count = ::poll(&waited, 1, static_cast<int>(left.count()));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
    }
}

/// servers.py with one server, as a child process. It ends when its standard input does, so also
/// when this process is killed.
class server_process {
public:
    explicit server_process(const std::string& kind) : kind_(kind)
    {
        auto [input, keep_open] = make_pipe();
        auto [description, output] = make_pipe();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input.number(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output.number(), STDOUT_FILENO);
        std::array<std::string, 3> words{"/usr/bin/python3", TARNIX_SERVERS_TOOL, kind};
        std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
        const auto error =
            ::posix_spawn(&child_, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0)
            throw std::system_error(error, std::generic_category(), words[0]);
        ended_ = descriptor(static_cast<int>(::syscall(SYS_pidfd_open, child_, 0)));
        if (ended_.number() < 0)
            throw std::system_error(errno, std::generic_category(), "pidfd_open");
        keep_open_ = std::move(keep_open);
        description_ = std::move(description);
    }

    server_process(const server_process&) = delete;
    server_process& operator=(const server_process&) = delete;

    ~server_process()
    {
        if (!end())
            ADD_FAILURE() << kind_ << ": servers.py failed";
    }

    /// The description, once the server answers.
    std::map<std::string, std::string> wait_until_ready()
    {
        const auto deadline = steady_clock::now() + start_limit;
        std::string text;
        while (!text.ends_with("ready\n")) {
            if (!readable(description_, deadline))
                throw std::runtime_error(kind_ + " does not start in time");
            std::array<char, 4096> buffer{};
            const auto count = ::read(description_.number(), buffer.data(), buffer.size());
            if (count <= 0)
                throw std::runtime_error(kind_ + " does not start; standard error says why");
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return parse(text);
    }

private:
    std::map<std::string, std::string> parse(const std::string& text) const
    {
        std::map<std::string, std::string> values;
        std::istringstream lines(text);
        const auto prefix = kind_ + ".";
        for (std::string line; std::getline(lines, line);)
            if (const auto equals = line.find('='); line.starts_with(prefix))
                values[line.substr(prefix.size(), equals - prefix.size())] =
                    line.substr(equals + 1);
        return values;
    }

    /// Ends the child; true when it said that it left nothing behind.
    bool end()
    {
        keep_open_.close();
        if (!has_ended_within(stop_limit)) {
            // Refused where the child is sudo: it stays then, rather than this program with it.
            ::kill(child_, SIGKILL);
            if (!has_ended_within(kill_limit))
                return false;
        }
        int status = 0;
        while (::waitpid(child_, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    bool has_ended_within(steady_clock::duration limit) const
    {
        return readable(ended_, steady_clock::now() + limit);
    }

    std::string kind_;
    pid_t child_ = -1;
    /// Readable when the child has ended.
    descriptor ended_;
    descriptor keep_open_;
    descriptor description_;
};

struct running {
    explicit running(const std::string& kind) : process(kind), server(process.wait_until_ready()) {}

    server_process process;
    live_server server;
};

/// Ends the servers after the last test, while failures are still counted.
class servers_of_this_program : public testing::Environment {
public:
    void TearDown() override { servers_.clear(); }

    const live_server& get(const std::string& kind)
    {
        auto& entry = servers_[kind];
        if (!entry)
            entry = std::make_unique<running>(kind);
        return entry->server;
    }

private:
    std::map<std::string, std::unique_ptr<running>> servers_;
};

// GoogleTest owns it from here on.
auto* const servers = static_cast<servers_of_this_program*>(
    testing::AddGlobalTestEnvironment(new servers_of_this_program));

} // namespace

const live_server& running_server(const std::string& kind)
{
    return servers->get(kind);
}

} // namespace tarnix::test
