#include "check.hpp"
#include "outcome.hpp"
#include "session_on_flavour.hpp"

namespace tarnix::test {
namespace {

using client = session_on_flavour;

const std::string done = "done";
constexpr auto everywhere = where::everywhere;
constexpr auto with_any_data = where::with_any_data;
constexpr auto even_without_data = where::even_without_data;

/// The last words of the lines of a long listing, or of a listing of names: names without blanks.
std::string last_words(const std::string& listing)
{
    std::vector<std::string> words;
    for (std::size_t at = 0; at < listing.size();) {
        const auto end = std::min(listing.find('\n', at), listing.size());
        const auto line = listing.substr(at, end - at);
        words.push_back(line.substr(line.find_last_of(" /") + 1));
        at = end + 1;
    }
    return said(words);
}

std::string upload(client& c, const std::string& content, const std::string& remote,
                   ftp::transfer_mode mode = ftp::transfer_mode::binary)
{
    c.session().upload(write_bytes(c.local() / "sent", content), remote, mode);
    return done;
}

std::string downloaded(client& c, const std::string& remote,
                       ftp::transfer_mode mode = ftp::transfer_mode::binary)
{
    const auto copy = c.local() / "received";
    c.session().download(remote, copy, mode);
    return said(read_bytes(copy));
}

const std::vector<check<client>> checks{
    {"working_folder", [](client& c) { return c.session().working_folder(); }, "ROOT",
     even_without_data},

    {"change_folder", [](client& c) { return c.session().change_folder("full"), done; },
     "done; then in ROOT/full", even_without_data},
    {"change_folder up", [](client& c) { return c.session().change_folder("full/.."), done; },
     "done"},
    {"change_folder to the root", [](client& c) { return c.session().change_folder("/"), done; },
     "done; then in /"},
    {"change_folder to a missing one",
     [](client& c) { return c.session().change_folder("missing"), done; }, "fails: not found",
     everywhere},
    {"change_folder to a file", [](client& c) { return c.session().change_folder("file"), done; },
     "fails: not found"},
    {"change_folder to a closed one",
     [](client& c) { return c.session().change_folder("closed"), done; }, "fails: permission"},

    {"list", [](client& c) { return last_words(c.session().list()); },
     "[bare, closed, empty, file, full, lines, locked, secret]", everywhere},
    {"list of a folder", [](client& c) { return last_words(c.session().list("full")); }, "[inner]"},
    {"list of an empty folder", [](client& c) { return last_words(c.session().list("bare")); },
     "[]"},
    {"list of a missing folder", [](client& c) { return last_words(c.session().list("missing")); },
     "fails: not found", everywhere},
    {"list of a file", [](client& c) { return last_words(c.session().list("file")); },
     "fails: not found"},
    {"list of a closed folder", [](client& c) { return last_words(c.session().list("closed")); },
     "fails: permission"},

    {"names", [](client& c) { return said(c.session().names()); },
     "[bare, closed, empty, file, full, lines, locked, secret]", with_any_data},
    {"names in a folder", [](client& c) { return said(c.session().names("full")); }, "[inner]"},
    {"names in an absolute folder",
     [](client& c) { return said(c.session().names(c.root() / "full")); }, "[inner]"},
    {"names in an empty folder", [](client& c) { return said(c.session().names("bare")); }, "[]",
     everywhere},
    {"names in a missing folder", [](client& c) { return said(c.session().names("missing")); },
     "fails: not found"},
    {"names in a file", [](client& c) { return said(c.session().names("file")); },
     "fails: not found"},
    {"names in a closed folder", [](client& c) { return said(c.session().names("closed")); },
     "fails: permission"},

    {"is_folder of a folder", [](client& c) { return said(c.session().is_folder("full")); }, "yes",
     even_without_data},
    {"is_folder of a file", [](client& c) { return said(c.session().is_folder("file")); }, "no",
     even_without_data},
    {"is_folder of a missing name",
     [](client& c) { return said(c.session().is_folder("missing")); }, "no", everywhere},
    {"is_folder in a missing one",
     [](client& c) { return said(c.session().is_folder("missing/inner")); }, "no"},
    {"is_folder of a locked one", [](client& c) { return said(c.session().is_folder("locked")); },
     "yes"},

    {"exists of a file", [](client& c) { return said(c.session().exists("file")); }, "yes",
     even_without_data},
    {"exists of an empty file", [](client& c) { return said(c.session().exists("empty")); }, "yes"},
    {"exists of a secret file", [](client& c) { return said(c.session().exists("secret")); },
     "yes"},
    {"exists of a folder", [](client& c) { return said(c.session().exists("bare")); }, "yes"},
    {"exists of a closed folder", [](client& c) { return said(c.session().exists("closed")); },
     "yes"},
    {"exists of a missing name", [](client& c) { return said(c.session().exists("missing")); },
     "no", everywhere},
    {"exists in a missing folder",
     [](client& c) { return said(c.session().exists("missing/inner")); }, "no"},
    {"exists under a file", [](client& c) { return said(c.session().exists("file/inner")); }, "no"},

    {"is_file of a file", [](client& c) { return said(c.session().is_file("file")); }, "yes",
     even_without_data},
    {"is_file of an empty file", [](client& c) { return said(c.session().is_file("empty")); },
     "yes"},
    {"is_file of a secret file", [](client& c) { return said(c.session().is_file("secret")); },
     "yes"},
    {"is_file of a folder", [](client& c) { return said(c.session().is_file("full")); }, "no",
     everywhere},
    {"is_file of a closed folder", [](client& c) { return said(c.session().is_file("closed")); },
     "no"},
    {"is_file of a missing name", [](client& c) { return said(c.session().is_file("missing")); },
     "no", everywhere},

    {"make_folder", [](client& c) { return c.session().make_folder("new"), done; }, "done; +new/",
     even_without_data},
    {"make_folder in another", [](client& c) { return c.session().make_folder("bare/new"), done; },
     "done; +bare/new/"},
    {"make_folder in the working folder",
     [](client& c) {
         c.session().change_folder("bare");
         c.session().make_folder("new");
         return done;
     },
     "done; +bare/new/; then in ROOT/bare"},
    {"make_folder of an existing one",
     [](client& c) { return c.session().make_folder("full"), done; }, "fails: conflict",
     even_without_data},
    {"make_folder in the place of a file",
     [](client& c) { return c.session().make_folder("file"), done; }, "fails: conflict"},
    {"make_folder in a missing one",
     [](client& c) { return c.session().make_folder("missing/new"), done; }, "fails: not found"},
    {"make_folder in a locked one",
     [](client& c) { return c.session().make_folder("locked/new"), done; }, "fails: permission"},

    {"remove_folder", [](client& c) { return c.session().remove_folder("bare"), done; },
     "done; -bare", even_without_data},
    {"remove_folder of a full one",
     [](client& c) { return c.session().remove_folder("full"), done; }, "fails: conflict",
     everywhere},
    {"remove_folder of a missing one",
     [](client& c) { return c.session().remove_folder("missing"), done; }, "fails: not found"},
    {"remove_folder of a file", [](client& c) { return c.session().remove_folder("file"), done; },
     "fails: not found"},

    {"remove_file", [](client& c) { return c.session().remove_file("file"), done; }, "done; -file",
     even_without_data},
    {"remove_file in another folder",
     [](client& c) { return c.session().remove_file("full/inner"), done; }, "done; -full/inner"},
    {"remove_file in the working folder",
     [](client& c) {
         c.session().change_folder("full");
         c.session().remove_file("inner");
         return done;
     },
     "done; -full/inner; then in ROOT/full"},
    {"remove_file of a missing one",
     [](client& c) { return c.session().remove_file("missing"), done; }, "fails: not found",
     everywhere},
    {"remove_file of a folder", [](client& c) { return c.session().remove_file("bare"), done; },
     "fails: conflict"},
    {"remove_file in a locked folder",
     [](client& c) { return c.session().remove_file("locked/kept"), done; }, "fails: permission"},

    {"rename", [](client& c) { return c.session().rename("file", "new"), done; },
     "done; -file, +new=\"content\"", with_any_data},
    {"rename into another folder",
     [](client& c) { return c.session().rename("file", "bare/new"), done; },
     "done; +bare/new=\"content\", -file"},
    {"rename of a folder", [](client& c) { return c.session().rename("full", "new"), done; },
     "done; -full, -full/inner, +new/, +new/inner=\"inside\""},
    {"rename onto another file",
     [](client& c) { return c.session().rename("file", "empty"), done; }, "fails: conflict",
     everywhere},
    {"rename onto a folder", [](client& c) { return c.session().rename("file", "bare"), done; },
     "fails: conflict"},
    {"rename of a missing one",
     [](client& c) { return c.session().rename("missing", "new"), done; }, "fails: not found",
     everywhere},
    {"rename into a missing folder",
     [](client& c) { return c.session().rename("file", "missing/new"), done; }, "fails: not found"},
    {"rename into a locked folder",
     [](client& c) { return c.session().rename("file", "locked/new"), done; }, "fails: permission"},

    {"upload", [](client& c) { return upload(c, "sent\r\n", "new"); }, "done; +new=\"sent\\r\\n\"",
     with_any_data},
    {"upload of an empty file", [](client& c) { return upload(c, "", "new"); }, "done; +new=\"\"",
     everywhere},
    {"upload of one byte", [](client& c) { return upload(c, "1", "new"); }, "done; +new=\"1\"",
     everywhere},
    {"upload over a longer file", [](client& c) { return upload(c, "new", "file"); },
     "done; file=\"new\""},
    {"upload into another folder", [](client& c) { return upload(c, "sent", "bare/new"); },
     "done; +bare/new=\"sent\""},
    {"upload into a missing folder", [](client& c) { return upload(c, "sent", "missing/new"); },
     "fails: not found", everywhere},
    {"upload into a locked folder", [](client& c) { return upload(c, "sent", "locked/new"); },
     "fails: permission"},
    {"upload onto a folder", [](client& c) { return upload(c, "sent", "bare"); },
     "fails: conflict"},
    {"upload over a secret file", [](client& c) { return upload(c, "sent", "secret"); },
     "fails: permission"},
    {"upload of a missing local file",
     [](client& c) { return c.session().upload(c.local() / "missing", "new"), done; },
     "raises NotFound(LOCAL/missing)"},
    {"upload as text",
     [](client& c) { return upload(c, "a\nb\n", "new", ftp::transfer_mode::text); },
     "done; +new=\"a\\nb\\n\""},

    {"download", [](client& c) { return downloaded(c, "lines"); }, "\"one\\r\\ntwo\\n\"",
     with_any_data},
    {"download of an empty file", [](client& c) { return downloaded(c, "empty"); }, "\"\"",
     everywhere},
    {"download of one byte",
     [](client& c) {
         upload(c, "1", "file");
         return downloaded(c, "file");
     },
     "\"1\"; file=\"1\"", everywhere},
    {"download from another folder", [](client& c) { return downloaded(c, "full/inner"); },
     "\"inside\""},
    {"download of a missing file", [](client& c) { return downloaded(c, "missing"); },
     "fails: not found", with_any_data},
    {"download of a folder", [](client& c) { return downloaded(c, "full"); }, "fails: conflict"},
    {"download of a secret file", [](client& c) { return downloaded(c, "secret"); },
     "fails: permission"},
    {"download as text", [](client& c) { return downloaded(c, "lines", ftp::transfer_mode::text); },
     "\"one\\ntwo\\n\""},

    {"system_type", [](client& c) { return said(c.session().system_type()); }, "\"UNIX Type: L8\"",
     even_without_data},

    {"work after failures",
     [](client& c) {
         std::string results;
         for (auto i = 0; i < 2; ++i)
             for (const auto* name : {"missing", "locked/new", "file"}) {
                 std::string ignored;
                 results +=
                     outcome_of([&] { return c.session().make_folder(name), done; }, ignored);
                 results += ", " + said(c.session().names("full")) + ", ";
             }
         return results + downloaded(c, "file");
     },
     "done, [inner], fails: permission, [inner], fails: conflict, [inner], fails: conflict, "
     "[inner], fails: permission, [inner], fails: conflict, [inner], \"content\"; +missing/"},
};

using SessionMatrix = matrix_test<session_on_flavour>;

TEST_P(SessionMatrix, comes_to)
{
    compare("session");
}

INSTANTIATE_TEST_SUITE_P(Servers, SessionMatrix,
                         testing::ValuesIn(on_servers("session", checks,
                                                      [](const flavour& one) {
                                                          return !one.is_refused_by_session();
                                                      })),
                         name_of_check<session_on_flavour>);

} // namespace
} // namespace tarnix::test
