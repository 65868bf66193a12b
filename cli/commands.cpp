#include "commands.hpp"

#include "local_files.hpp"
#include "output.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

namespace tarnix::cli {

namespace {

using operands = std::vector<std::string>;

std::string first_or(const operands& given, const std::string& otherwise)
{
    return given.empty() ? otherwise : given.front();
}

ftp::transfer_mode mode_of(const arguments& given)
{
    return given.text_mode ? ftp::transfer_mode::text : ftp::transfer_mode::binary;
}

exit_code print_folder(ftp::session& session, const arguments&)
{
    write_result(session.working_folder() + '\n');
    return exit_code::ok;
}

exit_code list(ftp::session& session, const arguments& given)
{
    auto listing = session.list(first_or(given.operands, ""));
    if (!listing.empty() && !listing.ends_with('\n'))
        listing += '\n';
    write_result(listing);
    return exit_code::ok;
}

exit_code list_names(ftp::session& session, const arguments& given)
{
    std::string lines;
    for (const auto& name : session.names(first_or(given.operands, "")))
        lines += name + '\n';
    write_result(lines);
    return exit_code::ok;
}

exit_code make_folder(ftp::session& session, const arguments& given)
{
    session.make_folder(given.operands.front());
    return exit_code::ok;
}

exit_code remove_folder(ftp::session& session, const arguments& given)
{
    session.remove_folder(given.operands.front());
    return exit_code::ok;
}

exit_code upload(ftp::session& session, const arguments& given)
{
    const std::filesystem::path local = given.operands.front();
    // Found out before anything is asked of the server.
    check_readable(local);
    const auto name = local.filename().string();
    if (name.empty())
        throw local_file_error("\"" + local.string() + "\" names no file");
    std::string remote = name;
    if (given.operands.size() > 1) {
        remote = given.operands.back();
        if (remote.ends_with('/'))
            remote += name;
        else if (session.is_folder(remote))
            remote += '/' + name;
    }
    session.upload(local, remote, mode_of(given));
    return exit_code::ok;
}

exit_code download(ftp::session& session, const arguments& given)
{
    const auto& remote = given.operands.front();
    const auto name = remote.substr(remote.rfind('/') + 1);
    if (name.empty() || name == "." || name == "..")
        throw usage_error("get: \"" + remote + "\" names no file");
    const std::filesystem::path wanted = given.operands.size() > 1 ? given.operands.back() : name;
    session.download(remote, local_target(wanted, name), mode_of(given));
    return exit_code::ok;
}

exit_code remove_file(ftp::session& session, const arguments& given)
{
    session.remove_file(given.operands.front());
    return exit_code::ok;
}

exit_code rename(ftp::session& session, const arguments& given)
{
    session.rename(given.operands.front(), given.operands.back());
    return exit_code::ok;
}

exit_code answer(bool yes)
{
    write_result(yes ? "yes\n" : "no\n");
    return yes ? exit_code::ok : exit_code::no;
}

exit_code exists(ftp::session& session, const arguments& given)
{
    return answer(session.exists(given.operands.front()));
}

exit_code is_file(ftp::session& session, const arguments& given)
{
    return answer(session.is_file(given.operands.front()));
}

exit_code print_system_type(ftp::session& session, const arguments&)
{
    write_result(session.system_type() + '\n');
    return exit_code::ok;
}

struct command {
    std::string_view name;
    std::size_t least_operands;
    std::size_t most_operands;
    exit_code (*run)(ftp::session&, const arguments&);
    /// The operands, as the help shows them.
    std::string_view takes;
    std::string_view meaning;
};

constexpr std::array<command, 12> commands{{
    {"pwd", 0, 0, &print_folder, "", "print the folder that the session starts in"},
    {"ls", 0, 1, &list, "[FOLDER]", "print the server's long listing"},
    {"names", 0, 1, &list_names, "[FOLDER]", "print the names in a folder, one on a line"},
    {"mkdir", 1, 1, &make_folder, "FOLDER", "make a folder"},
    {"rmdir", 1, 1, &remove_folder, "FOLDER", "remove an empty folder"},
    {"put", 1, 2, &upload, "LOCAL [REMOTE]", "store a file, also into a folder REMOTE"},
    {"get", 1, 2, &download, "REMOTE [LOCAL]", "fetch a file, also into a folder LOCAL"},
    {"rm", 1, 1, &remove_file, "FILE", "remove a file"},
    {"mv", 2, 2, &rename, "FROM TO", "give a file or folder another name, which is not taken"},
    {"exists", 1, 1, &exists, "PATH", "print whether there is a file or folder"},
    {"is-file", 1, 1, &is_file, "PATH", "print whether there is a file, and no folder"},
    {"syst", 0, 0, &print_system_type, "", "FTP: print what the server says of its system"},
}};

std::string usage_of(const command& one)
{
    std::string usage(one.name);
    if (!one.takes.empty())
        usage += ' ' + std::string(one.takes);
    return usage;
}

const command& find_command(const std::string& name)
{
    const auto* found = std::find_if(commands.begin(), commands.end(),
                                     [&](const command& one) { return one.name == name; });
    if (found == commands.end())
        throw usage_error("there is no command \"" + name + "\"; see --help");
    return *found;
}

} // namespace

void check_command(const std::string& name, const operands& given)
{
    const auto& found = find_command(name);
    if (given.size() < found.least_operands || given.size() > found.most_operands)
        throw usage_error("usage: tarnix-ftp [OPTIONS] URL " + usage_of(found));
    if (std::any_of(given.begin(), given.end(), [](const auto& one) { return one.empty(); }))
        throw usage_error(name + ": an argument is empty");
}

exit_code run_command(ftp::session& session, const arguments& given)
{
    return find_command(given.command).run(session, given);
}

std::string command_help()
{
    constexpr std::size_t column = 22;
    std::string text = "Commands:\n";
    for (const auto& one : commands) {
        std::string line = "  " + usage_of(one);
        line.resize(std::max(line.size() + 1, column), ' ');
        text += line + std::string(one.meaning) + '\n';
    }
    return text;
}

} // namespace tarnix::cli
