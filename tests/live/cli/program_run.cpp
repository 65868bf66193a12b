#include "program_run.hpp"

#include <support/temporary_folder.hpp>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>

namespace tarnix::test {

namespace {

using std::chrono::steady_clock;

constexpr auto time_limit = std::chrono::seconds(60);
constexpr auto look_again = std::chrono::milliseconds(5);

void check(int error, const char* what)
{
    if (error != 0)
        throw std::system_error(error, std::generic_category(), what);
}

/// The side of a terminal that a person sits at.
class terminal {
public:
    terminal() : side_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (side_ == -1 || ::grantpt(side_) != 0 || ::unlockpt(side_) != 0)
            throw std::system_error(errno, std::generic_category(), "posix_openpt");
    }
    ~terminal() { ::close(side_); }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;

    std::string name() const { return ::ptsname(side_); }
    int descriptor() const { return side_; }

    /// Reads what is there; types the next answer when it ends in a question.
    void attend(const std::vector<std::string>& answers)
    {
        std::array<char, 256> buffer{};
        const auto count = ::read(side_, buffer.data(), buffer.size());
        if (count <= 0)
            return;
        shown_.append(buffer.data(), static_cast<std::size_t>(count));
        if (answered_ == answers.size() || !shown_.ends_with(": "))
            return;
        const auto& keys = answers[answered_++];
        if (::write(side_, keys.data(), keys.size()) == -1)
            throw std::system_error(errno, std::generic_category(), "terminal");
    }

    const std::string& shown() const { return shown_; }

private:
    int side_;
    std::string shown_;
    std::size_t answered_ = 0;
};

class pipe_without_reader {
public:
    pipe_without_reader()
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe2");
        ::close(ends[0]);
        writer_ = ends[1];
    }
    ~pipe_without_reader() { ::close(writer_); }
    pipe_without_reader(const pipe_without_reader&) = delete;
    pipe_without_reader& operator=(const pipe_without_reader&) = delete;

    int descriptor() const { return writer_; }

private:
    int writer_ = -1;
};

class spawn_actions {
public:
    spawn_actions() { check(::posix_spawn_file_actions_init(&actions_), "file_actions"); }
    ~spawn_actions() { ::posix_spawn_file_actions_destroy(&actions_); }
    spawn_actions(const spawn_actions&) = delete;
    spawn_actions& operator=(const spawn_actions&) = delete;

    void open(int descriptor, const std::string& path, int flags)
    {
        check(::posix_spawn_file_actions_addopen(&actions_, descriptor, path.c_str(), flags, 0600),
              "addopen");
    }
    void duplicate(int from, int to)
    {
        check(::posix_spawn_file_actions_adddup2(&actions_, from, to), "adddup2");
    }
    void close(int descriptor)
    {
        check(::posix_spawn_file_actions_addclose(&actions_, descriptor), "addclose");
    }
    void change_folder(const std::string& path)
    {
        check(::posix_spawn_file_actions_addchdir_np(&actions_, path.c_str()), "addchdir");
    }

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/// A session of its own: no terminal of the test's is the child's.
class own_session {
public:
    own_session()
    {
        check(::posix_spawnattr_init(&attributes_), "spawnattr");
        check(::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID), "SETSID");
    }
    ~own_session() { ::posix_spawnattr_destroy(&attributes_); }
    own_session(const own_session&) = delete;
    own_session& operator=(const own_session&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

pid_t start(const program& wanted, const spawn_actions& actions)
{
    auto words = wanted.under;
    words.push_back(wanted.file.empty() ? TARNIX_PROGRAM : wanted.file);
    words.insert(words.end(), wanted.arguments.begin(), wanted.arguments.end());
    std::vector<std::string> variables;
    for (const auto& [name, value] : wanted.environment)
        variables.push_back(name + '=' + value);
    const own_session session;
    pid_t process = 0;
    check(::posix_spawn(&process, words.front().c_str(), actions.get(), session.get(),
                        pointers(words).data(), pointers(variables).data()),
          words.front().c_str());
    return process;
}

/// Sees to the child until it ends.
program_result attend(pid_t process, const program& wanted, terminal& seat)
{
    const auto ended = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
    const auto deadline = steady_clock::now() + time_limit;
    auto terminated = !wanted.terminate_when;
    auto in_time = true;
    for (;;) {
        if (!terminated && wanted.terminate_when()) {
            ::kill(process, wanted.signal);
            terminated = true;
        }
        std::array<pollfd, 2> waited{{{ended, POLLIN, 0}, {seat.descriptor(), POLLIN, 0}}};
        // Without a reader a terminal is always "ready", with a hang-up.
        const auto sources = wanted.typed ? 2 : 1;
        ::poll(waited.data(), static_cast<nfds_t>(sources),
               static_cast<int>(terminated ? 1000 : look_again.count()));
        if (waited[1].revents & POLLIN)
            seat.attend(*wanted.typed);
        if (waited[0].revents != 0)
            break;
        if (steady_clock::now() > deadline) {
            ::kill(process, SIGKILL);
            in_time = false;
        }
    }
    ::close(ended);
    int status = 0;
    ::waitpid(process, &status, 0);
    if (!in_time)
        throw std::runtime_error("the program does not end");
    program_result result;
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.terminal = seat.shown();
    return result;
}

} // namespace

program_result run(const program& wanted)
{
    const temporary_folder streams;
    terminal seat;
    spawn_actions actions;
    actions.open(STDIN_FILENO, wanted.typed ? seat.name() : "/dev/null", O_RDWR);
    const auto out = wanted.output.value_or(streams / "out");
    const pipe_without_reader pipe;
    if (wanted.reader_has_gone)
        actions.duplicate(pipe.descriptor(), STDOUT_FILENO);
    else if (out.empty())
        actions.close(STDOUT_FILENO);
    else
        actions.open(STDOUT_FILENO, out, O_WRONLY | O_CREAT);
    actions.open(STDERR_FILENO, streams / "error", O_WRONLY | O_CREAT);
    if (!wanted.folder.empty())
        actions.change_folder(wanted.folder);
    auto result = attend(start(wanted, actions), wanted, seat);
    if (!wanted.output && !wanted.reader_has_gone)
        result.out = read_bytes(streams / "out");
    result.error = read_bytes(streams / "error");
    return result;
}

} // namespace tarnix::test
