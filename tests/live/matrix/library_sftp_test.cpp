#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"

namespace tarnix::test {
namespace {

using client = core_on_server;

const std::string done = "done";
constexpr auto everywhere = where::everywhere;

std::string is_folder(client& c, const std::string& path, bool is_encoded = false)
{
    const auto [code, listing] = core::sftp_is_folder(c.session(), path, is_encoded);
    const auto has_inner = listing.find(" inner\n") != std::string::npos;
    return said(long{code}) + (has_inner ? " full of inner" : "");
}

/// Of operations for SFTP alone.
const std::vector<check<client>> checks{
    {"sftp_is_folder of a folder", [](client& c) { return is_folder(c, "full/"); },
     "0 full of inner", everywhere},
    {"sftp_is_folder of an encoded name", [](client& c) { return is_folder(c, "f%75ll/", true); },
     "0 full of inner"},
    {"sftp_is_folder of an empty folder", [](client& c) { return is_folder(c, "bare/"); }, "0"},
    {"sftp_is_folder of a missing name", [](client& c) { return is_folder(c, "missing/"); }, "78",
     everywhere},
    {"sftp_is_folder of a file", [](client& c) { return is_folder(c, "file/"); }, "78"},
    {"sftp_is_folder of a closed folder", [](client& c) { return is_folder(c, "closed/"); }, "9"},
    {"sftp_create_folder",
     [](client& c) { return core::sftp_create_folder(c.session(), "new"), done; }, "done; +new/",
     everywhere},
    {"sftp_create_folder in another",
     [](client& c) { return core::sftp_create_folder(c.session(), "bare/new"), done; },
     "done; +bare/new/"},
    {"sftp_create_folder with an absolute path",
     [](client& c) { return core::sftp_create_folder(c.session(), c.root() / "new"), done; },
     "done; +new/"},
    {"sftp_create_folder makes a relative one in the login folder",
     [](client& c) {
         core::cd(c.session(), c.url("bare"));
         core::sftp_create_folder(c.session(), "new");
         core::cd(c.session(), c.start_url());
         return done;
     },
     "done; +new/"},
    {"sftp_create_folder of an existing folder",
     [](client& c) { return core::sftp_create_folder(c.session(), "full"), done; },
     "raises CouldNotCreateFolder(full)", everywhere},
    {"sftp_create_folder in the place of a file",
     [](client& c) { return core::sftp_create_folder(c.session(), "file"), done; },
     "raises CouldNotCreateFolder(file)"},
    {"sftp_create_folder in a missing one",
     [](client& c) { return core::sftp_create_folder(c.session(), "missing/new"), done; },
     "raises CouldNotCreateFolder(missing/new)"},
    {"sftp_create_folder in a locked one",
     [](client& c) { return core::sftp_create_folder(c.session(), "locked/new"), done; },
     "raises CouldNotCreateFolder(locked/new)"},
    {"sftp_delete_folder of an empty one",
     [](client& c) { return core::sftp_delete_folder(c.session(), "bare"), done; }, "done; -bare",
     everywhere},
    {"sftp_delete_folder of a full one",
     [](client& c) { return core::sftp_delete_folder(c.session(), "full"), done; },
     "raises FTPError(0)", everywhere},
    {"sftp_delete_folder of a missing one",
     [](client& c) { return core::sftp_delete_folder(c.session(), "missing"), done; },
     "raises FTPError(0)"},
    {"sftp_delete_folder of a file",
     [](client& c) { return core::sftp_delete_folder(c.session(), "file"), done; },
     "raises FTPError(0)"},
    {"sftp_delete_remote_file",
     [](client& c) { return core::sftp_delete_remote_file(c.session(), u"file"), done; },
     "done; -file", everywhere},
    {"sftp_delete_remote_file in another folder",
     [](client& c) { return core::sftp_delete_remote_file(c.session(), u"full/inner"), done; },
     "done; -full/inner"},
    {"sftp_delete_remote_file with an absolute path",
     [](client& c) {
         core::sftp_delete_remote_file(c.session(), (c.root() / "file").u16string());
         return done;
     },
     "done; -file"},
    {"sftp_delete_remote_file of a missing file",
     [](client& c) { return core::sftp_delete_remote_file(c.session(), u"missing"), done; },
     "raises DeleteFailed(missing)", everywhere},
    {"sftp_delete_remote_file of a folder",
     [](client& c) { return core::sftp_delete_remote_file(c.session(), u"bare"), done; },
     "raises DeleteFailed(bare)"},
    {"sftp_delete_remote_file in a locked folder",
     [](client& c) { return core::sftp_delete_remote_file(c.session(), u"locked/kept"), done; },
     "raises DeleteFailed(locked/kept)"},
    {"sftp_rename_remote_file",
     [](client& c) { return core::sftp_rename_remote_file(c.session(), u"file", u"new"), done; },
     "done; -file, +new=\"content\"", everywhere},
    {"sftp_rename_remote_file into another folder",
     [](client& c) {
         return core::sftp_rename_remote_file(c.session(), u"file", u"bare/new"), done;
     },
     "done; +bare/new=\"content\", -file"},
    {"sftp_rename_remote_file of a folder",
     [](client& c) { return core::sftp_rename_remote_file(c.session(), u"full", u"new"), done; },
     "done; -full, -full/inner, +new/, +new/inner=\"inside\""},
    {"sftp_rename_remote_file onto another file",
     [](client& c) { return core::sftp_rename_remote_file(c.session(), u"file", u"empty"), done; },
     "done; empty=\"content\", -file"},
    {"sftp_rename_remote_file of a missing file",
     [](client& c) { return core::sftp_rename_remote_file(c.session(), u"missing", u"new"), done; },
     "raises FTPError(550)", everywhere},
    {"sftp_rename_remote_file into a missing folder",
     [](client& c) {
         core::sftp_rename_remote_file(c.session(), u"file", u"missing/new");
         return done;
     },
     "raises FTPError(550)"},
    {"sftp_rename_remote_file into a locked folder",
     [](client& c) {
         core::sftp_rename_remote_file(c.session(), u"file", u"locked/new");
         return done;
     },
     "raises FTPError(550)"},
};

using LibrarySftpMatrix = matrix_test<core_on_server>;

TEST_P(LibrarySftpMatrix, comes_to)
{
    compare("library");
}

INSTANTIATE_TEST_SUITE_P(Servers, LibrarySftpMatrix,
                         testing::ValuesIn(on_servers("library", checks,
                                                      [](const flavour& server) {
                                                          return server.is_sftp();
                                                      })),
                         name_of_check<core_on_server>);

} // namespace
} // namespace tarnix::test
