#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"
#include "scene.hpp"
#include "session_on_flavour.hpp"

#include <fl/i18n/ustring_conversion.hpp>

#include <algorithm>
#include <functional>

namespace tarnix::test {
namespace {

namespace fs = std::filesystem;

struct odd_name {
    const char* description;
    std::string name;
};

/// 255 bytes are what the file system takes.
const std::vector<odd_name> odd_names{
    {"one letter", "a"},
    {"a blank", "two words"},
    {"two blanks", "two  words"},
    {"a leading blank", " leading"},
    {"a trailing blank", "trailing "},
    {"nothing but a blank", " "},
    {"a double quote", "double\"quote"},
    {"double quotes around", "\"quoted\""},
    {"a single quote", "single'quote"},
    {"a per cent sign", "100%"},
    {"a per cent sequence", "50%41"},
    {"a hash", "a#b"},
    {"a semicolon", "semi;colon"},
    {"what is a type in URLs", "name;type=a"},
    {"a question mark", "what?"},
    {"an ampersand and an equals sign", "a&b=c"},
    {"a plus sign", "a+b"},
    {"a backslash", "back\\slash"},
    {"a colon", "c:d"},
    {"an at sign", "a@b"},
    {"é", "caf\u00e9"},
    {"日本", "\u65e5\u672c"},
    {"an emoji", "smile \U0001F600"},
    {"a leading dash", "-leading"},
    {"what is an option to ls", "-la"},
    {"brackets", "[brackets]"},
    {"an asterisk", "star*"},
    {"braces", "{a,b}"},
    {"a tilde", "~tilde"},
    {"a leading dot", ".hidden"},
    {"three dots", "..."},
    {"what a shell expands", "$HOME `id` | x"},
    {"200 bytes", std::string(200, 'n')},
    {"255 bytes", std::string(255, 'n')},
    {"255 bytes of UTF-8", std::string("n") +
                               [] {
                                   std::string text;
                                   while (text.size() < 254)
                                       text += "\u00e9";
                                   return text;
                               }()},
};

std::string name_of_check(const odd_name& one)
{
    return std::string("a name with ") + one.description;
}

/// A name on a server, in one of the layers.
template <typename Client>
struct name_on {
    const flavour* server;
    const odd_name* name;
};

template <typename Client>
std::vector<name_on<Client>> names_on_servers(const std::string& layer)
{
    for (const auto& one : odd_names)
        known_checks().emplace(layer, name_of_check(one));
    std::vector<name_on<Client>> all;
    for (const auto& server : flavours())
        if (server.with_odd_names)
            for (const auto& one : odd_names)
                all.push_back({&server, &one});
    return all;
}

template <typename Client>
std::string name_of(const testing::TestParamInfo<name_on<Client>>& one)
{
    const auto number = std::to_string(one.param.name - odd_names.data());
    return one.param.server->full_name() + "__name_" + number;
}

template <typename Client>
std::ostream& operator<<(std::ostream& out, const name_on<Client>& one)
{
    return out << one.server->description() << ": " << name_of_check(*one.name);
}

/// Does something with a name; what is not as it should be, or nothing.
struct step {
    std::string name;
    std::function<std::string()> run;
};

void empty(const fs::path& folder)
{
    for (const auto& entry : fs::directory_iterator(folder))
        fs::remove_all(entry.path());
}

std::string contents_of(const fs::path& folder)
{
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder))
        all.push_back(entry.path().filename().string() +
                      (entry.is_directory() ? "/" : "=" + read_bytes(entry.path())));
    return said(all);
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string unless(bool fine, const std::string& what)
{
    return fine ? "" : what;
}

/// "well", or what each step that went wrong came to, with NAME in the place of the name.
std::string run(const std::vector<step>& steps, const fs::path& root, const std::string& name)
{
    std::string text;
    for (const auto& step : steps) {
        empty(root);
        std::string details;
        const auto outcome = outcome_of(step.run, details);
        if (!outcome.empty())
            text += (text.empty() ? "" : "; ") + step.name + ": " + outcome;
    }
    empty(root);
    if (text.empty())
        return "well";
    text = replaced(text, root, "ROOT");
    constexpr std::size_t too_short_to_tell = 2;
    return name.size() < too_short_to_tell ? text : replaced(text, name, "NAME");
}

/// `name` must be all that there is in `root`, as a file with "content" or as a folder.
std::string stored(const fs::path& root, const std::string& name, bool is_folder)
{
    const auto found = contents_of(root);
    return unless(found == '[' + name + (is_folder ? "/]" : "=content]"), found);
}

std::string run_library_steps(core_on_server& c, const std::string& name)
{
    const auto wide = fl::i18n::utf8_to_ustring(name);
    const auto root = c.root();
    const auto sent = write_bytes(c.local() / "sent", "content").u16string();
    const auto sftp = c.place().is_sftp();
    auto& session = c.session();
    const std::vector<step> steps{
        {"send_file",
         [&] {
             core::send_file(session, sent, wide, false);
             return stored(root, name, false);
         }},
        {"receive_file",
         [&] {
             put_file(root / name, "content");
             const auto copy = c.local() / "received";
             core::receive_file(session, wide, copy.u16string(), false);
             return unless(read_bytes(copy) == "content", "other content");
         }},
        {"dir",
         [&] {
             put_file(root / name, "content");
             const auto names = core::dir(session, "");
             return unless(contains(names, name), said(names));
         }},
        {"rename to",
         [&] {
             put_file(root / "plain", "content");
             if (sftp)
                 core::sftp_rename_remote_file(session, u"plain", wide);
             else
                 core::rename_remote_file(session, u"plain", wide);
             return stored(root, name, false);
         }},
        {"rename from",
         [&] {
             put_file(root / name, "content");
             if (sftp)
                 core::sftp_rename_remote_file(session, wide, u"plain");
             else
                 core::rename_remote_file(session, wide, u"plain");
             return stored(root, "plain", false);
         }},
        {"delete a file",
         [&] {
             put_file(root / name, "content");
             if (sftp)
                 core::sftp_delete_remote_file(session, wide);
             else
                 core::delete_remote_file(session, wide);
             return unless(fs::is_empty(root), contents_of(root));
         }},
        {"create a folder",
         [&] {
             if (sftp)
                 core::sftp_create_folder(session, name);
             else
                 core::create_folder(session, name);
             return stored(root, name, true);
         }},
        {"delete a folder",
         [&] {
             fs::create_directory(root / name);
             if (sftp)
                 core::sftp_delete_folder(session, name);
             else
                 core::delete_folder(session, name);
             return unless(fs::is_empty(root), contents_of(root));
         }},
        {"is_folder",
         [&] {
             fs::create_directory(root / name);
             fs::permissions(root / name, fs::perms::all);
             return unless(core::is_folder(session, name), "no");
         }},
        {"cd and send_file",
         [&] {
             fs::create_directory(root / name);
             fs::permissions(root / name, fs::perms::all);
             const auto folder = core::cd(session, core::fullurl(session, name, false));
             core::send_file(session, sent, u"inner", false);
             core::unsafe_cd(session, c.start_url());
             const auto slash = std::string(sftp ? "/" : "");
             return unless(folder == (root / name).string() + slash, folder) +
                    unless(fs::exists(root / name / "inner"), " no inner");
         }},
    };
    const auto outcome = run(steps, root, name);
    core::unsafe_cd(session, c.start_url());
    return replaced(outcome, c.local().path(), "LOCAL");
}

std::string run_session_steps(session_on_flavour& c, const std::string& name)
{
    const auto root = c.root();
    const auto sent = write_bytes(c.local() / "sent", "content");
    auto& session = c.session();
    const std::vector<step> steps{
        {"upload",
         [&] {
             session.upload(sent, name);
             return stored(root, name, false);
         }},
        {"download",
         [&] {
             put_file(root / name, "content");
             const auto copy = c.local() / "received";
             session.download(name, copy);
             return unless(read_bytes(copy) == "content", "other content");
         }},
        {"names",
         [&] {
             put_file(root / name, "content");
             const auto names = session.names();
             return unless(names == std::vector{name}, said(names));
         }},
        {"list",
         [&] {
             put_file(root / name, "content");
             const auto listing = session.list();
             return unless(listing.find(name + '\n') != listing.npos, listing);
         }},
        {"exists",
         [&] {
             put_file(root / name, "content");
             return unless(session.exists(name), "no");
         }},
        {"exists of a missing one", [&] { return unless(!session.exists(name), "yes"); }},
        {"is_file",
         [&] {
             put_file(root / name, "content");
             return unless(session.is_file(name), "no");
         }},
        {"is_folder",
         [&] {
             fs::create_directory(root / name);
             fs::permissions(root / name, fs::perms::all);
             return unless(session.is_folder(name) && !session.is_file(name), "no");
         }},
        {"rename to",
         [&] {
             put_file(root / "plain", "content");
             session.rename("plain", name);
             return stored(root, name, false);
         }},
        {"rename from",
         [&] {
             put_file(root / name, "content");
             session.rename(name, "plain");
             return stored(root, "plain", false);
         }},
        {"remove_file",
         [&] {
             put_file(root / name, "content");
             session.remove_file(name);
             return unless(fs::is_empty(root), contents_of(root));
         }},
        {"make_folder",
         [&] {
             session.make_folder(name);
             return stored(root, name, true);
         }},
        {"remove_folder",
         [&] {
             fs::create_directory(root / name);
             session.remove_folder(name);
             return unless(fs::is_empty(root), contents_of(root));
         }},
        {"change_folder and upload",
         [&] {
             fs::create_directory(root / name);
             fs::permissions(root / name, fs::perms::all);
             session.change_folder(name);
             const auto folder = session.working_folder();
             session.upload(sent, "inner");
             const auto names = session.names();
             session.change_folder(root);
             return unless(folder == root / name, folder) +
                    unless(names == std::vector<std::string>{"inner"}, said(names)) +
                    unless(fs::exists(root / name / "inner"), " no inner");
         }},
    };
    const auto outcome = run(steps, root, name);
    if (session.working_folder() != root)
        session.change_folder(root);
    return outcome;
}

/// One session for all names, as long as all is as expected.
template <typename Client>
class names_test : public testing::TestWithParam<name_on<Client>> {
public:
    static void TearDownTestSuite() { client_.reset(); }

protected:
    void compare(const std::string& layer, std::string (*run_steps)(Client&, const std::string&))
    {
        const auto& [server, odd] = this->GetParam();
        auto client = std::exchange(client_, nullptr);
        if (client && &client->place() != server)
            client.reset();
        if (!client)
            client = std::make_unique<Client>(*server);
        reset(running_server(server->server));
        EXPECT_THAT(expected_outcomes(*server, layer, name_of_check(*odd), "well"),
                    testing::Contains(run_steps(*client, odd->name)));
        if (!testing::Test::HasFailure())
            client_ = std::move(client);
        count("names tried in the " + layer + " on " + server->description());
    }

private:
    inline static std::unique_ptr<Client> client_;
};

using LibraryNamesMatrix = names_test<core_on_server>;
using SessionNamesMatrix = names_test<session_on_flavour>;

TEST_P(LibraryNamesMatrix, goes_round)
{
    compare("library", run_library_steps);
}

TEST_P(SessionNamesMatrix, goes_round)
{
    compare("session", run_session_steps);
}

INSTANTIATE_TEST_SUITE_P(Servers, LibraryNamesMatrix,
                         testing::ValuesIn(names_on_servers<core_on_server>("library")),
                         name_of<core_on_server>);
INSTANTIATE_TEST_SUITE_P(Servers, SessionNamesMatrix,
                         testing::ValuesIn(names_on_servers<session_on_flavour>("session")),
                         name_of<session_on_flavour>);

} // namespace
} // namespace tarnix::test
