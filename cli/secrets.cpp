#include "secrets.hpp"

#include "local_files.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <system_error>

namespace tarnix::cli {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

[[noreturn]] void raise(const std::string& file, const std::string& reason)
{
    throw local_file_error("cannot read \"" + file + "\": " + reason);
}

std::string system_message(int error)
{
    return std::generic_category().message(error);
}

/// Opened once: what a pipe has given is not there a second time.
class secret_file {
public:
    explicit secret_file(const std::string& name)
        : name_(name), descriptor_(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        if (descriptor_ == -1)
            raise(name_, system_message(errno));
    }
    ~secret_file() { ::close(descriptor_); }
    secret_file(const secret_file&) = delete;
    secret_file& operator=(const secret_file&) = delete;

    /// None at the end of the file.
    std::optional<char> next(steady_clock::time_point deadline)
    {
        wait(deadline);
        char character = 0;
        const auto count = ::read(descriptor_, &character, 1);
        if (count == -1)
            raise(name_, system_message(errno));
        return count == 1 ? std::optional<char>(character) : std::nullopt;
    }

private:
    /// For a pipe also until its writer comes. A signal ends it.
    void wait(steady_clock::time_point deadline) const
    {
        const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
        pollfd waited{descriptor_, POLLIN, 0};
        const auto ready = ::poll(&waited, 1, static_cast<int>(std::max<long>(left, 0)));
        if (ready == 1)
            return;
        raise(name_, ready == 0 ? "nothing comes" : system_message(errno));
    }

    const std::string& name_;
    int descriptor_;
};

/// The first line, without its end.
std::string read_first_line(const std::string& file, milliseconds patience)
{
    constexpr std::size_t longest_line = 65536;
    const auto deadline = steady_clock::now() + patience;
    secret_file opened(file);
    std::string line;
    for (auto one = opened.next(deadline); one && *one != '\n'; one = opened.next(deadline)) {
        line += *one;
        if (line.size() > longest_line)
            throw local_file_error("the first line of \"" + file + "\" is too long");
    }
    if (line.ends_with('\r'))
        line.pop_back();
    if (line.empty())
        throw local_file_error("the first line of \"" + file + "\" is empty");
    return line;
}

} // namespace

std::optional<std::string> find_secret(const secret_sources& sources)
{
    if (!sources.file.empty())
        return read_first_line(sources.file, sources.patience);
    const auto* value = std::getenv(sources.environment_variable.c_str());
    if (value && *value)
        return value;
    if (sources.prompt)
        return sources.prompt();
    return std::nullopt;
}

} // namespace tarnix::cli
