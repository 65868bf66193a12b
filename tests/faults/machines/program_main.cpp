// Linked into the program in front of its own `main`: makes the machine a bad one, as the
// environment says, from the first line of `main` until the last object is gone, and writes down
// how that went.

#include "assignment.hpp"
#include "endings.hpp"
#include "failing_allocations.hpp"
#include "machine.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace tarnix::test;

int report = -1;

void write_down(const char* line) noexcept
{
    const auto write = [](const char* text, std::size_t length) {
        if (::write(report, text, length) != static_cast<ssize_t>(length))
            ::_exit(4);
    };
    write(line, std::strlen(line));
    write("\n", 1);
}

/// Reports when it goes, after everything that `main` made.
class reported_machine {
public:
    reported_machine() = default;
    ~reported_machine()
    {
        const auto asked = memory::asked();
        const auto failed = memory::failed();
        machine_->mend();
        std::array<char, 64> line{};
        std::snprintf(line.data(), line.size(), "asked %ld\nfailed %ld\nend exit", asked, failed);
        write_down(line.data());
    }
    reported_machine(const reported_machine&) = delete;
    reported_machine& operator=(const reported_machine&) = delete;

    void become(const assignment& given) { machine_.emplace(given); }

private:
    std::optional<bad_machine> machine_;
};

} // namespace

// The linker gives the program's own `main` this name, and this one the other.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_main(int count, char** values);
extern "C" int __wrap_main(int count, char** values)
// NOLINTEND(bugprone-reserved-identifier)
{
    // Far above the descriptors that the program may be allowed.
    constexpr int high = 200;
    const auto opened = ::open(std::getenv("TARNIX_MACHINE_REPORT"),
                               O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    report = ::fcntl(opened, F_DUPFD_CLOEXEC, high);
    ::close(opened);
    if (report == -1)
        return 4;
    report_bad_endings(&write_down);
    assignment given;
    std::istringstream(std::getenv("TARNIX_MACHINE")) >> given;
    // Memory is there for noting that it has a destructor.
    static reported_machine machine;
    machine.become(given);
    return __real_main(count, values);
}
