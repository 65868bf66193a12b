#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"
#include "scene.hpp"
#include "session_on_flavour.hpp"

#include <algorithm>
#include <fstream>

namespace tarnix::test {
namespace {

namespace fs = std::filesystem;

std::string name_of_number(int number)
{
    return "entry-" + std::to_string(number);
}

class ManyEntriesTest : public testing::TestWithParam<const flavour*> {
protected:
    static constexpr int count_of_entries = 10'000;

    const flavour& place() const { return *GetParam(); }

    /// Files, and a folder as the last one.
    ManyEntriesTest()
    {
        const auto& server = running_server(place().server);
        reset(server);
        for (int i = 0; i < count_of_entries - 1; ++i)
            put_file(server.root() / name_of_number(i), "");
        fs::create_directory(server.root() / name_of_number(count_of_entries - 1));
        fs::permissions(server.root() / name_of_number(count_of_entries - 1), fs::perms::all);
    }

    ~ManyEntriesTest() override { reset(running_server(place().server)); }

    static std::string last_file() { return name_of_number(count_of_entries - 2); }
    static std::string last_folder() { return name_of_number(count_of_entries - 1); }
};

std::string number_of_entries(const std::vector<std::string>& names)
{
    const auto number = std::count_if(names.begin(), names.end(),
                                      [](const auto& name) { return name.starts_with("entry-"); });
    return std::to_string(number);
}

std::string number_of_lines(const std::string& listing)
{
    const auto lines = core::parse_nlst_listing(listing);
    const auto number = std::count_if(lines.begin(), lines.end(), [](const auto& line) {
        return line.find("entry-") != line.npos;
    });
    return std::to_string(number);
}

TEST_P(ManyEntriesTest, are_listed_by_the_library)
{
    core_on_server client(place());
    const auto names = core::dir(client.session(), "");
    const auto lines = number_of_lines(core::list(client.session(), ""));
    EXPECT_THAT(expected_outcomes(place(), "library", "10,000 entries", "10000 and 10000"),
                testing::Contains(number_of_entries(names) + " and " + lines));
    count("folders with 10,000 entries listed");
}

TEST_P(ManyEntriesTest, are_listed_by_the_session_layer)
{
    session_on_flavour client(place());
    auto& session = client.session();
    const auto outcome =
        number_of_entries(session.names()) + " and " + number_of_lines(session.list()) + ", " +
        said(session.exists(last_file())) + ", " + said(session.is_file(last_file())) + ", " +
        said(session.is_folder(last_folder())) + ", " + said(session.exists("entry-missing"));
    EXPECT_THAT(expected_outcomes(place(), "session", "10,000 entries",
                                  "10000 and 10000, yes, yes, yes, no"),
                testing::Contains(outcome));
    count("folders with 10,000 entries listed");
}

std::vector<const flavour*> flavours_with_many_entries()
{
    known_checks().emplace("library", "10,000 entries");
    known_checks().emplace("session", "10,000 entries");
    std::vector<const flavour*> found;
    for (const auto& one : flavours())
        if (one.with_odd_names)
            found.push_back(&one);
    return found;
}

INSTANTIATE_TEST_SUITE_P(Servers, ManyEntriesTest, testing::ValuesIn(flavours_with_many_entries()),
                         [](const auto& one) { return one.param->full_name() + "__many"; });

/// More than 32 bits can tell the size of; mostly a hole. Marks stand at the start, on both sides
/// of 4 GiB and at the end.
class LargeFileTest : public testing::TestWithParam<const flavour*> {
protected:
    static constexpr std::uintmax_t four_gib = std::uintmax_t{1} << 32;
    static constexpr std::uintmax_t size = four_gib + 1'000'003;

    LargeFileTest() { reset(running_server(place().server)); }
    ~LargeFileTest() override { reset(running_server(place().server)); }

    const flavour& place() const { return *GetParam(); }

    static void make_large_file(const fs::path& path)
    {
        put_file(path, "");
        fs::resize_file(path, size);
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        for (const auto place_of_mark : places_of_marks) {
            file.seekp(static_cast<std::streamoff>(place_of_mark));
            file << mark;
        }
        ASSERT_TRUE(file.flush());
    }

    static void expect_large_file(const fs::path& path)
    {
        ASSERT_EQ(fs::file_size(path), size);
        std::ifstream file(path, std::ios::binary);
        for (const auto place_of_mark : places_of_marks) {
            std::string found(mark.size() + 1, '?');
            file.seekg(static_cast<std::streamoff>(place_of_mark));
            file.read(found.data(), static_cast<std::streamsize>(mark.size()));
            EXPECT_EQ(found, mark + '?') << place_of_mark;
        }
    }

    /// What the disk must take for the copy.
    static void expect_space(const fs::path& folder)
    {
        ASSERT_GT(fs::space(folder).available, size + size / 4)
            << folder << " has too little space";
    }

    inline static const std::string mark = "here";
    inline static const std::vector<std::uintmax_t> places_of_marks{0, four_gib - 4, four_gib,
                                                                    size - 4};

    temporary_folder local_;
};

TEST_P(LargeFileTest, is_uploaded)
{
    session_on_flavour client(place());
    expect_space(client.root());
    make_large_file(local_ / "large");
    client.session().upload(local_ / "large", "large");
    expect_large_file(client.root() / "large");
    count("files over 4 GiB uploaded");
}

TEST_P(LargeFileTest, is_downloaded)
{
    session_on_flavour client(place());
    expect_space(local_.path());
    make_large_file(client.root() / "large");
    EXPECT_TRUE(client.session().is_file("large"));
    client.session().download("large", local_ / "large");
    expect_large_file(local_ / "large");
    count("files over 4 GiB downloaded");
}

std::vector<const flavour*> flavours_with_large_files()
{
    std::vector<const flavour*> found;
    for (const auto& one : flavours())
        if (one.with_large_files)
            found.push_back(&one);
    return found;
}

INSTANTIATE_TEST_SUITE_P(Servers, LargeFileTest, testing::ValuesIn(flavours_with_large_files()),
                         [](const auto& one) { return "large_" + one.param->full_name(); });

} // namespace
} // namespace tarnix::test
