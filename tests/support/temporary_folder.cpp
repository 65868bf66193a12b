#include <support/temporary_folder.hpp>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace tarnix::test {

namespace fs = std::filesystem;

temporary_folder::temporary_folder()
{
    auto name = (fs::temp_directory_path() / "tarnix-test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
}

temporary_folder::~temporary_folder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string read_bytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

fs::path write_bytes(const fs::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
    return path;
}

} // namespace tarnix::test
