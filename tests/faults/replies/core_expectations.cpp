#include "core_expectations.hpp"

#include <boost/algorithm/string/replace.hpp>

#include <map>
#include <stdexcept>

namespace tarnix::test {

namespace {

constexpr auto no_connection = R"(NoConnection("ftp://127.*", "*"))";
constexpr auto bad_login = R"(BadLogin("ftp://127.*"))";
constexpr auto no_folder = R"(NoSuchDirectory("ftp://127.*//home/u/*"))";
constexpr auto no_pwd = R"(InternalError("PWD", "Could not get PWD response"))";
constexpr auto odd_pwd =
    R"(InternalError("PWD", "Could not match any server responses to the PWD command: *"))";
constexpr auto no_opening_quote =
    R"(InternalError("PWD", "Could not find opening quote in PWD response: 257-*"))";
constexpr auto no_upload = "UploadFailed(*)";
constexpr auto no_download = R"(FileUnavailable(u"file"))";
constexpr auto no_mkdir = R"(InternalError("mkdir", "new"))";

/// Numbers of steps as an undisturbed server counts them.
const std::vector<step_expectation>& expectations()
{
    static const std::vector<step_expectation> all{
        // Greeting, USER and PASS, PWD of libcurl's own; PWD; the levels of the folder; PWD.
        {"connect", 0, 0, no_connection, no_connection, no_connection},
        {"connect", 1, 2, bad_login, no_connection, "=", {}, no_connection},
        {"connect", 3, 3, no_connection, no_connection, "="},
        {"connect", 4, 4, no_pwd, no_pwd, odd_pwd},
        {"connect", 5, 6, no_folder, no_folder, no_folder},
        {"connect", 7, 7, no_folder, no_folder, "/home"},
        {"connect", 8, 8, no_pwd, no_pwd, odd_pwd},

        {"connect to a folder", 0, 0, no_connection, no_connection, no_connection},
        {"connect to a folder", 1, 2, bad_login, no_connection, "=", {}, no_connection},
        {"connect to a folder", 3, 3, no_connection, no_connection, "="},
        // Refused once, it is tried again by way of the login folder.
        {"connect to a folder", 4, 4, "=", no_connection, "/home/u", {}, no_connection},
        {"connect to a folder", 5, 6, no_pwd, no_pwd, odd_pwd},

        {"pwd", 0, 0, no_pwd, no_pwd, odd_pwd},
        {"fullfile", 0, 0, no_pwd, no_pwd, odd_pwd},

        {"cd", 0, 2, no_folder, no_folder, no_folder},
        {"cd", 3, 3, no_folder, no_folder, "/home/u"},
        {"cd", 4, 4, no_pwd, no_pwd, odd_pwd},

        {"is_folder", 0, 2, "false", "false", "false"},
        {"is_folder", 3, 3, "false", "false", "true"},
        {"is_folder", 4, 4, "false", "false", "false"},
        // The way back, whose failure does not count.
        {"is_folder", 5, 7, "=", "=", "="},

        {"create_folder", 0, 0, no_mkdir, no_mkdir, "said to be done",
         R"(CouldNotCreateFolder("new"))"},
        {"delete_folder", 0, 0, "FTPError({code})", "FTPError(*)", "said to be done",
         R"(FolderNotEmpty("folder"))"},

        // A failed listing is what had arrived, and nobody is told.
        {"list", 0, 1, R"("")", R"("")", "="},
        {"list", 2, 2, R"("")", R"("")", "="},
        {"list", 3, 3, "=", "=", "="},
        {"nlst", 0, 1, R"("")", R"("")", "="},
        {"nlst", 2, 2, R"("")", R"("")", "="},
        {"nlst", 3, 3, "=", "=", "="},
        {"dir", 0, 1, "", "", "="},
        {"dir", 2, 2, "", "", "="},
        {"dir", 3, 3, "=", "=", "="},
        {"syst", 0, 0, R"("")", R"("")", R"("* What?*")"},

        {"send_file", 0, 1, no_upload, no_upload, "="},
        {"send_file", 2, 3, no_upload, no_upload, no_upload},
        {"send_file as text", 0, 0, no_upload, no_upload, "="},
        {"send_file as text", 1, 1, no_upload, no_upload, "stored *"},
        {"send_file as text", 2, 3, no_upload, no_upload, no_upload},

        {"receive_file", 0, 0, "FTPError({code})", "FTPError(*)", "="},
        {"receive_file", 1, 4, "FTPError({code})", "FTPError(*)", "=", no_download},
        {"receive_file as text", 0, 0, "FTPError({code})", "FTPError(*)", "="},
        {"receive_file as text", 1, 3, "FTPError({code})", "FTPError(*)", "=", no_download},

        {"delete_remote_file", 0, 0, R"(DeleteFailed("file"))", R"(DeleteFailed("file"))",
         "said to be done"},

        // Without RNFR the server refuses RNTO with 550.
        {"rename_remote_file", 0, 0, "FTPError({code})", "said to be done", "FTPError(550)"},
        {"rename_remote_file", 1, 1, "FTPError({code})", "*done", "said to be done"},

        // No FTP server knows the question; then the working folder alone is looked at.
        {"is_file", 0, 0, "true", "true", "true"},
        {"is_file", 1, 7, "true", "true", "true"},
    };
    return all;
}

const step_expectation& find_expectation(const std::string& operation, std::size_t step)
{
    for (const auto& one : expectations())
        if (one.operation == operation && step >= one.first_step && step <= one.last_step)
            return one;
    throw std::out_of_range("nothing is expected of step " + std::to_string(step) + " of " +
                            operation);
}

bool is_quoted_command(const std::string& word)
{
    for (const auto* one : {"PWD", "MKD", "RMD", "DELE", "RNFR", "RNTO", "SYST", "STATVFS"})
        if (word == one)
            return true;
    return false;
}

/// The PWD of a login, whose answer does not matter.
bool is_own_pwd(const std::string& operation, std::size_t step)
{
    return step == (operation.starts_with("connect") ? 3 : 4) &&
           (operation.starts_with("connect") || operation == "is_file");
}

/// Whether libcurl goes on after a reply with that code to that command.
bool goes_on(const std::string& operation, std::size_t step, const std::string& word, long code)
{
    if (is_own_pwd(operation, step) || word == "EPSV")
        return code != 421;
    if (word == "SIZE")
        return code != 421 && code != 550;
    if (is_quoted_command(word))
        return code < 400;
    return code == 200 && (word == "USER" || word == "PASS" || word == "CWD" || word == "TYPE");
}

/// What a rename does not count as a refusal counts as done.
std::string refusal_of(const step_expectation& expected, long code)
{
    if (expected.operation == "rename_remote_file" && (code < 500 || code > 553))
        return "said to be done";
    if (code == 550 && !expected.refused_550.empty())
        return expected.refused_550;
    if (code == 421 && !expected.refused_421.empty())
        return expected.refused_421;
    return boost::algorithm::replace_all_copy(expected.refused, "{code}", std::to_string(code));
}

/// Where a reply that comes without its line end, or without its text, is no reply.
std::vector<std::string> outcomes_without_reply(const step_expectation& expected,
                                                const std::string& word, const named_fault& fault)
{
    // What was asked for came all the same.
    if (word == "LIST" || word == "NLST")
        return {expected.broken, "="};
    if (expected.operation == "is_file")
        return {expected.broken, "FTPError(56)"};
    if (fault.code != 0)
        return {expected.broken, refusal_of(expected, fault.code)};
    return {expected.broken};
}

} // namespace

std::vector<std::string> expected_outcomes(const std::string& operation, std::size_t step,
                                           const std::string& word, const named_fault& fault)
{
    const auto& expected = find_expectation(operation, step);
    // The number of the port is looked for as in a C string.
    const auto hides_port = word == "EPSV" && fault.label == "with NULs";
    const auto as_due = operation == "syst" ? R"("*215 *UNIX Type: L8*")" : "=";
    // Of a reply of several lines the first counts, and that holds no name here.
    const auto first_line_counts =
        word == "PWD" && fault.label.starts_with("behind") && fault.label.ends_with("of lines");
    switch (fault.meant) {
    case effect::none:
        if (first_line_counts && !is_own_pwd(operation, step))
            return {operation == "is_folder" ? "false" : no_opening_quote};
        return {hides_port ? expected.broken : as_due};
    case effect::refusal:
    case effect::wrong_code:
        return {goes_on(operation, step, word, fault.code) ? expected.pretended
                                                           : refusal_of(expected, fault.code)};
    case effect::silence:
    case effect::loss:
        return outcomes_without_reply(expected, word, fault);
    case effect::uncertain: {
        auto either = outcomes_without_reply(expected, word, fault);
        either.emplace_back(first_line_counts && !is_own_pwd(operation, step) ? no_opening_quote
                                                                              : as_due);
        return either;
    }
    }
    throw std::invalid_argument(fault.label);
}

std::vector<std::string> expected_outcomes_for_good(const std::string& operation, std::size_t step)
{
    if (operation == "is_file")
        return {"false", step == 0 ? "FTPError(56)" : "false"};
    return {find_expectation(operation, step).broken};
}

bool matches(const std::string& pattern, const std::string& text)
{
    const auto star = pattern.find('*');
    if (star == std::string::npos)
        return pattern == text;
    if (text.compare(0, star, pattern, 0, star) != 0)
        return false;
    const auto rest = pattern.substr(star + 1);
    for (auto begin = star; begin <= text.size(); ++begin)
        if (matches(rest, text.substr(begin)))
            return true;
    return false;
}

} // namespace tarnix::test
