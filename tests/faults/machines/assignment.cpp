#include "assignment.hpp"

#include <istream>
#include <ostream>
#include <stdexcept>

namespace tarnix::test {

namespace {

/// In place of an empty word.
constexpr auto nothing = "-";

std::string as_word(const std::string& text)
{
    return text.empty() ? nothing : text;
}

} // namespace

std::ostream& operator<<(std::ostream& out, const assignment& given)
{
    return out << as_word(given.operation) << ' ' << given.scheme << ' ' << as_word(given.host)
               << ' ' << given.port << ' ' << given.user << ' ' << given.password << ' '
               << given.login_folder << ' ' << as_word(given.proof) << ' ' << as_word(given.folder)
               << ' ' << given.traced << ' ' << static_cast<int>(given.what) << ' ' << given.nth
               << ' ' << as_word(given.local) << ' ' << given.serial << '\n';
}

std::istream& operator>>(std::istream& in, assignment& given)
{
    int what = 0;
    in >> given.operation >> given.scheme >> given.host >> given.port >> given.user >>
        given.password >> given.login_folder >> given.proof >> given.folder >> given.traced >>
        what >> given.nth >> given.local >> given.serial;
    for (auto* word : {&given.operation, &given.host, &given.proof, &given.folder, &given.local})
        if (*word == nothing)
            word->clear();
    given.what = static_cast<fault>(what);
    return in;
}

outcome read_outcome(const std::function<std::string()>& next_line)
{
    outcome read;
    for (;;) {
        const auto line = next_line();
        const auto gap = line.find(' ');
        const auto word = line.substr(0, gap);
        const auto rest = gap == std::string::npos ? "" : line.substr(gap + 1);
        if (word == "result")
            read.result = rest;
        else if (word == "asked")
            read.asked = std::stol(rest);
        else if (word == "failed")
            read.failed = std::stol(rest);
        else if (word == "failed_in")
            read.failed_in = rest;
        else if (word == "restorers")
            read.struck_restorers = true;
        else if (word == "refused")
            read.refused.push_back(rest);
        else if (word == "lost")
            read.lost.push_back(rest);
        else if (word == "option")
            read.options.push_back(rest);
        else if (word == "file")
            read.files.push_back(rest);
        else if (word == "struck")
            read.struck = std::stol(rest);
        else if (word == "again")
            read.again = rest;
        else if (word == "blocks")
            read.blocks_left = std::stol(rest);
        else if (word == "foreign_blocks")
            read.foreign_blocks = std::stol(rest);
        else if (word == "own_blocks")
            read.own_blocks = std::stol(rest);
        else if (word == "unavailable")
            read.unavailable = rest;
        else if (word == "ended")
            read.ended_in = rest;
        else if (word == "crashed_in")
            read.crashed_in = rest;
        else if (word == "end") {
            read.end = rest;
            return read;
        } else
            throw std::runtime_error("not a line of an outcome: " + line);
    }
}

} // namespace tarnix::test
