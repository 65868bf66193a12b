#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"

namespace tarnix::test {
namespace {

using client = core_on_server;

constexpr auto binary = false;
constexpr auto text = true;
const std::string done = "done";
constexpr auto everywhere = where::everywhere;
constexpr auto with_any_data = where::with_any_data;
constexpr auto even_without_data = where::even_without_data;

/// With the last reply code, which tells an empty answer from a failed one.
std::string with_reply(client& c, const std::string& answer)
{
    const auto reply = core::last_response_code(c.session());
    return answer + ' ' + std::to_string(reply);
}

/// The last words of the lines of a long listing: names without blanks.
std::string last_words(const std::string& listing)
{
    std::vector<std::string> words;
    for (const auto line : core::parse_nlst_listing(listing))
        if (!line.empty())
            words.emplace_back(line.substr(line.rfind(' ') + 1));
    return said(words);
}

/// The lines of a listing of names, each with the line feed at its end.
std::string lines(const std::string& listing)
{
    std::vector<std::string> all;
    for (std::size_t at = 0; at < listing.size();) {
        const auto end = std::min(listing.find('\n', at), listing.size() - 1) + 1;
        all.push_back(said(listing.substr(at, end - at)));
        at = end;
    }
    return said(all);
}

std::string send(client& c, const std::string& content, const std::u16string& remote,
                 bool text_mode = binary)
{
    core::send_file(c.session(), write_bytes(c.local() / "sent", content).u16string(), remote,
                    text_mode);
    return done;
}

std::string received(client& c, const std::u16string& remote, bool text_mode = binary)
{
    const auto copy = c.local() / "received";
    core::receive_file(c.session(), remote, copy.u16string(), text_mode);
    return said(read_bytes(copy));
}

/// Of operations that FTP and SFTP share.
const std::vector<check<client>> checks{
    {"pwd", [](client& c) { return core::pwd(c.session()); }, "ROOT", even_without_data},
    {"syst",
     [](client& c) { return said(core::match_response_code(core::syst(c.session()), "215")); },
     "\"215 UNIX Type: L8\"", even_without_data},
    {"cd to a folder", [](client& c) { return core::cd(c.session(), c.url("full")); },
     "ROOT/full; then at URL/full/; then in ROOT/full", even_without_data},
    {"cd up", [](client& c) { return core::cd(c.session(), c.url("full/..")); }, "ROOT",
     even_without_data},
    {"cd to a missing folder", [](client& c) { return core::cd(c.session(), c.url("missing")); },
     "raises NoSuchDirectory(URL/missing)", even_without_data},
    {"cd to a file", [](client& c) { return core::cd(c.session(), c.url("file")); },
     "raises NoSuchDirectory(URL/file)"},
    {"cd to a closed folder", [](client& c) { return core::cd(c.session(), c.url("closed")); },
     "raises NoSuchDirectory(URL/closed)"},
    {"unsafe_cd to a folder",
     [](client& c) { return said(long{core::unsafe_cd(c.session(), c.url("full"))}); },
     "0; then at URL/full/; then in ROOT/full", even_without_data},
    {"unsafe_cd to a missing folder and back",
     [](client& c) {
         const auto code = core::unsafe_cd(c.session(), c.url("missing"));
         const auto url = core::current_remote_url(c.session());
         core::unsafe_cd(c.session(), c.start_url());
         return said(long{code}) + " at " + url;
     },
     "9 at URL/missing/"},
    {"is_folder of a folder", [](client& c) { return said(core::is_folder(c.session(), "full")); },
     "yes", even_without_data},
    {"is_folder of an absolute folder",
     [](client& c) { return said(core::is_folder(c.session(), c.root() / "full")); }, "yes"},
    {"is_folder of the root", [](client& c) { return said(core::is_folder(c.session(), "/")); },
     "yes"},
    {"is_folder of a file", [](client& c) { return said(core::is_folder(c.session(), "file")); },
     "no"},
    {"is_folder of a missing name",
     [](client& c) { return said(core::is_folder(c.session(), "missing")); }, "no",
     even_without_data},
    {"is_folder of a closed folder",
     [](client& c) { return said(core::is_folder(c.session(), "closed")); }, "no"},
    {"list", [](client& c) { return last_words(core::list(c.session(), "")); },
     "[bare, closed, empty, file, full, lines, locked, secret]", with_any_data},
    {"list of a folder",
     [](client& c) { return with_reply(c, last_words(core::list(c.session(), "full"))); },
     "[inner] 226"},
    {"list of an empty folder",
     [](client& c) { return with_reply(c, last_words(core::list(c.session(), "bare"))); },
     "[] 226"},
    {"list of a missing folder",
     [](client& c) { return with_reply(c, last_words(core::list(c.session(), "missing"))); },
     "[] 226"},
    {"list of a closed folder",
     [](client& c) { return with_reply(c, last_words(core::list(c.session(), "closed"))); },
     "[closed] 226"},
    {"nlst", [](client& c) { return said(core::dir(c.session(), "")); },
     "[bare, closed, empty, file, full, lines, locked, secret]", with_any_data},
    {"nlst of a folder",
     [](client& c) { return with_reply(c, lines(core::nlst(c.session(), "full"))); },
     "[\"full/inner\\n\"] 226"},
    {"nlst of an empty folder",
     [](client& c) { return with_reply(c, lines(core::nlst(c.session(), "bare"))); }, "[] 226"},
    {"nlst of a missing folder",
     [](client& c) { return with_reply(c, lines(core::nlst(c.session(), "missing"))); }, "[] 226"},
    {"nlst of a closed folder",
     [](client& c) { return with_reply(c, lines(core::nlst(c.session(), "closed"))); },
     "[\"closed\\n\"] 226"},
    {"dir of an absolute folder",
     [](client& c) { return said(core::dir(c.session(), c.root() / "full")); },
     "[ROOT/full/inner]"},
    {"send_file", [](client& c) { return send(c, "sent\r\n", u"new"); },
     "done; +new=\"sent\\r\\n\"", with_any_data},
    {"send_file of an empty file", [](client& c) { return send(c, "", u"new"); }, "done; +new=\"\"",
     everywhere},
    {"send_file of one byte", [](client& c) { return send(c, "1", u"new"); }, "done; +new=\"1\""},
    {"send_file over a longer one", [](client& c) { return send(c, "new", u"file"); },
     "done; file=\"new\"", everywhere},
    {"send_file into another folder", [](client& c) { return send(c, "sent", u"bare/new"); },
     "done; +bare/new=\"sent\""},
    {"send_file with an absolute path",
     [](client& c) { return send(c, "sent", (c.root() / "new").u16string()); },
     "done; +new=\"sent\""},
    {"send_file as text", [](client& c) { return send(c, "a\nb\n", u"new", text); },
     "done; +new=\"a\\nb\\n\"", everywhere},
    {"send_file into a missing folder", [](client& c) { return send(c, "sent", u"missing/new"); },
     "raises UploadFailed(LOCAL/sent)", with_any_data},
    {"send_file into a locked folder", [](client& c) { return send(c, "sent", u"locked/new"); },
     "raises UploadFailed(LOCAL/sent)"},
    {"send_file onto a folder", [](client& c) { return send(c, "sent", u"bare"); },
     "raises UploadFailed(LOCAL/sent)"},
    {"send_file over one that may not be changed",
     [](client& c) { return send(c, "sent", u"secret"); }, "raises UploadFailed(LOCAL/sent)"},
    {"send_file of a missing local file",
     [](client& c) {
         core::send_file(c.session(), (c.local() / "missing").u16string(), u"new", binary);
         return done;
     },
     "raises NotFound(LOCAL/missing)"},
    {"receive_file", [](client& c) { return received(c, u"lines"); }, "\"one\\r\\ntwo\\n\"",
     with_any_data},
    {"receive_file of an empty file", [](client& c) { return received(c, u"empty"); }, "\"\"",
     everywhere},
    {"receive_file from another folder", [](client& c) { return received(c, u"full/inner"); },
     "\"inside\""},
    {"receive_file with an absolute path",
     [](client& c) { return received(c, (c.root() / "full" / "inner").u16string()); },
     "\"inside\""},
    {"receive_file as text", [](client& c) { return received(c, u"lines", text); },
     "\"one\\ntwo\\n\"", everywhere},
    {"receive_file of a missing file", [](client& c) { return received(c, u"missing"); },
     "raises FileUnavailable(missing)", with_any_data},
    {"receive_file from a missing folder", [](client& c) { return received(c, u"missing/inner"); },
     "raises FileUnavailable(missing/inner)"},
    {"receive_file of a folder", [](client& c) { return received(c, u"full"); },
     "raises FileUnavailable(full)"},
    {"receive_file of one that may not be read", [](client& c) { return received(c, u"secret"); },
     "raises FileUnavailable(secret)"},
    {"is_file of a file", [](client& c) { return said(core::is_file(c.session(), u"file")); },
     "yes", even_without_data},
    {"is_file is true of a missing name",
     [](client& c) { return said(core::is_file(c.session(), u"missing")); }, "yes"},
    {"fullfile", [](client& c) { return core::fullfile(c.session(), "name"); }, "ROOT/name",
     even_without_data},
    {"fullurl", [](client& c) { return core::fullurl(c.session(), "a b", false); }, "URL/a%20b",
     even_without_data},
};

using LibraryMatrix = matrix_test<core_on_server>;

TEST_P(LibraryMatrix, comes_to)
{
    compare("library");
}

INSTANTIATE_TEST_SUITE_P(Servers, LibraryMatrix,
                         testing::ValuesIn(on_servers("library", checks,
                                                      [](const flavour&) { return true; })),
                         name_of_check<core_on_server>);

} // namespace
} // namespace tarnix::test
