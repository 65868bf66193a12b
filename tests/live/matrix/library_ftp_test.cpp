#include "check.hpp"
#include "core_on_server.hpp"

namespace tarnix::test {
namespace {

using client = core_on_server;

const std::string done = "done";
constexpr auto even_without_data = where::even_without_data;

/// Of operations for FTP alone.
const std::vector<check<client>> checks{
    {"create_folder", [](client& c) { return core::create_folder(c.session(), "new"), done; },
     "done; +new/", even_without_data},
    {"create_folder in another",
     [](client& c) { return core::create_folder(c.session(), "bare/new"), done; },
     "done; +bare/new/"},
    {"create_folder with an absolute path",
     [](client& c) { return core::create_folder(c.session(), c.root() / "new"), done; },
     "done; +new/"},
    {"create_folder in the working folder",
     [](client& c) {
         core::cd(c.session(), c.url("bare"));
         core::create_folder(c.session(), "new");
         core::cd(c.session(), c.start_url());
         return done;
     },
     "done; +bare/new/"},
    {"create_folder of an existing folder",
     [](client& c) { return core::create_folder(c.session(), "full"), done; },
     "raises CouldNotCreateFolder(full)", even_without_data},
    {"create_folder in the place of a file",
     [](client& c) { return core::create_folder(c.session(), "file"), done; },
     "raises CouldNotCreateFolder(file)"},
    {"create_folder in a missing one",
     [](client& c) { return core::create_folder(c.session(), "missing/new"), done; },
     "raises CouldNotCreateFolder(missing/new)"},
    {"create_folder in a locked one",
     [](client& c) { return core::create_folder(c.session(), "locked/new"), done; },
     "raises CouldNotCreateFolder(locked/new)"},
    {"delete_folder of an empty one",
     [](client& c) { return core::delete_folder(c.session(), "bare"), done; }, "done; -bare",
     even_without_data},
    {"delete_folder of a full one",
     [](client& c) { return core::delete_folder(c.session(), "full"), done; },
     "raises FolderNotEmpty(full)", even_without_data},
    {"delete_folder of a missing one",
     [](client& c) { return core::delete_folder(c.session(), "missing"), done; },
     "raises FolderNotEmpty(missing)"},
    {"delete_folder of a file",
     [](client& c) { return core::delete_folder(c.session(), "file"), done; },
     "raises FolderNotEmpty(file)"},
    {"delete_remote_file",
     [](client& c) { return core::delete_remote_file(c.session(), u"file"), done; }, "done; -file",
     even_without_data},
    {"delete_remote_file in another folder",
     [](client& c) { return core::delete_remote_file(c.session(), u"full/inner"), done; },
     "done; -full/inner"},
    {"delete_remote_file with an absolute path",
     [](client& c) {
         core::delete_remote_file(c.session(), (c.root() / "file").u16string());
         return done;
     },
     "done; -file"},
    {"delete_remote_file of a missing file",
     [](client& c) { return core::delete_remote_file(c.session(), u"missing"), done; },
     "raises DeleteFailed(missing)", even_without_data},
    {"delete_remote_file of a folder",
     [](client& c) { return core::delete_remote_file(c.session(), u"bare"), done; },
     "raises DeleteFailed(bare)"},
    {"delete_remote_file in a locked folder",
     [](client& c) { return core::delete_remote_file(c.session(), u"locked/kept"), done; },
     "raises DeleteFailed(locked/kept)"},
    {"rename_remote_file",
     [](client& c) { return core::rename_remote_file(c.session(), u"file", u"new"), done; },
     "done; -file, +new=\"content\"", even_without_data},
    {"rename_remote_file into another folder",
     [](client& c) { return core::rename_remote_file(c.session(), u"file", u"bare/new"), done; },
     "done; +bare/new=\"content\", -file"},
    {"rename_remote_file of a folder",
     [](client& c) { return core::rename_remote_file(c.session(), u"full", u"new"), done; },
     "done; -full, -full/inner, +new/, +new/inner=\"inside\""},
    {"rename_remote_file onto another file",
     [](client& c) { return core::rename_remote_file(c.session(), u"file", u"empty"), done; },
     "done; empty=\"content\", -file"},
    {"rename_remote_file of a missing file",
     [](client& c) { return core::rename_remote_file(c.session(), u"missing", u"new"), done; },
     "raises FTPError(550)", even_without_data},
    {"rename_remote_file into a missing folder",
     [](client& c) {
         core::rename_remote_file(c.session(), u"file", u"missing/new");
         return done;
     },
     "raises FTPError(550)"},
    {"rename_remote_file into a locked folder",
     [](client& c) {
         core::rename_remote_file(c.session(), u"file", u"locked/new");
         return done;
     },
     "raises FTPError(550)"},
};

using LibraryFtpMatrix = matrix_test<core_on_server>;

TEST_P(LibraryFtpMatrix, comes_to)
{
    compare("library");
}

INSTANTIATE_TEST_SUITE_P(Servers, LibraryFtpMatrix,
                         testing::ValuesIn(on_servers("library", checks,
                                                      [](const flavour& server) {
                                                          return !server.is_sftp();
                                                      })),
                         name_of_check<core_on_server>);

} // namespace
} // namespace tarnix::test
