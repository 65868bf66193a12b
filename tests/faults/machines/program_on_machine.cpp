#include "program_on_machine.hpp"

#include <support/temporary_folder.hpp>

#include <sstream>
#include <utility>

namespace tarnix::test {

program_outcome run_on_machine(program wanted, const assignment& given)
{
    const temporary_folder reports;
    std::ostringstream machine;
    machine << given;
    wanted.file = TARNIX_MACHINE_PROGRAM;
    wanted.environment["TARNIX_MACHINE"] = machine.str();
    wanted.environment["TARNIX_MACHINE_REPORT"] = (reports / "report").string();
    // What the dynamic linker keeps looks like a leak when its memory comes from the test.
    wanted.environment["ASAN_OPTIONS"] = "detect_leaks=0";
    program_outcome seen;
    seen.result = run(wanted);
    std::istringstream lines(read_bytes(reports / "report"));
    seen.machine = read_outcome([&lines] {
        std::string line;
        return std::getline(lines, line) ? line : "end without a word";
    });
    return seen;
}

} // namespace tarnix::test
