#include "subject_process.hpp"

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarnix::test {

namespace {

[[noreturn]] void raise(const char* what, int error)
{
    throw std::system_error(error, std::generic_category(), what);
}

std::pair<descriptor, descriptor> connected_pair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        raise("socketpair", errno);
    return {descriptor(ends[0]), descriptor(ends[1])};
}

pid_t start(const descriptor& its_end)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, its_end.number(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, its_end.number(), STDOUT_FILENO);
    std::string name = TARNIX_MACHINE_SUBJECT;
    const std::array<char*, 2> words{name.data(), nullptr};
    pid_t process = 0;
    const auto error =
        ::posix_spawn(&process, name.c_str(), &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        raise("posix_spawn", error);
    return process;
}

} // namespace

subject_process::subject_process() : subject_process(connected_pair()) {}

subject_process::subject_process(std::pair<descriptor, descriptor> ends)
    : talk_(std::move(ends.first)), process_(start(ends.second))
{
}

subject_process::~subject_process()
{
    ::shutdown(talk_.number(), SHUT_RDWR);
    ::waitpid(process_, nullptr, 0);
}

outcome subject_process::run(const assignment& given)
{
    std::ostringstream line;
    line << given;
    const auto text = line.str();
    if (::send(talk_.number(), text.data(), text.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(text.size()))
        raise("the subject does not listen", errno);
    return read_outcome([this] { return next_line(); });
}

std::string subject_process::next_line()
{
    for (;;) {
        if (const auto end = unread_.find('\n'); end != std::string::npos) {
            auto line = unread_.substr(0, end);
            unread_.erase(0, end + 1);
            return line;
        }
        std::array<char, 4096> buffer{};
        const auto count = ::read(talk_.number(), buffer.data(), buffer.size());
        if (count <= 0)
            throw std::runtime_error("the subject is gone");
        unread_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace tarnix::test
