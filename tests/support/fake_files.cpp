#include <support/fake_files.hpp>

#include <stdexcept>
#include <utility>

namespace tarnix::test {

namespace {

fake_files* the_files = nullptr;

/// Test paths are ASCII.
std::string narrow(const fl::ustring& path)
{
    std::string text;
    for (const auto character : path)
        text += static_cast<char>(character);
    return text;
}

fake_files::io_result take(std::deque<fake_files::io_result>& results)
{
    auto result = std::move(results.front());
    results.pop_front();
    return result;
}

} // namespace

fake_files::fake_files() : token_(std::make_shared<int>())
{
    if (the_files)
        throw std::logic_error("there is a file layer already");
    the_files = this;
}

fake_files::~fake_files()
{
    the_files = nullptr;
}

fake_files& fake_files::current()
{
    if (!the_files)
        throw std::logic_error("no test expects files to be touched");
    return *the_files;
}

long fake_files::open_copies() const
{
    return token_.use_count() - 1;
}

tarnix::io::common::file::File fake_files::open(const std::string& how, const fl::ustring& path)
{
    using tarnix::io::common::file::open_file;
    write_down("open to " + how + ' ' + narrow(path));
    if (before_open)
        before_open();
    // Only counted: nothing looks behind the pointer.
    return {std::shared_ptr<open_file>(token_, reinterpret_cast<open_file*>(token_.get())), path};
}

std::string fake_files::next_piece(std::size_t limit)
{
    auto piece = content.substr(position_, limit);
    position_ += piece.size();
    return piece;
}

} // namespace tarnix::test

namespace tarnix::io::common::file {

using tarnix::test::fake_files;
using tarnix::test::narrow;

File make_readable_file(const fl::ustring& path)
{
    return fake_files::current().open("read", path);
}

File make_writeable_file(const fl::ustring& path)
{
    return fake_files::current().open("write", path);
}

foundation::storage::vfs::File make_vfs_file(const fl::ustring& path)
{
    return foundation::storage::vfs::File(path);
}

io_result read(File, char* buffer, long count)
{
    auto& files = fake_files::current();
    files.write_down("read " + std::to_string(count));
    if (!files.read_results.empty())
        return tarnix::test::take(files.read_results);
    const auto piece = files.next_piece(static_cast<std::size_t>(count));
    piece.copy(buffer, piece.size());
    return static_cast<long>(piece.size());
}

io_result write(File, const char* buffer, long count)
{
    auto& files = fake_files::current();
    files.write_down("write " + std::to_string(count));
    if (!files.write_results.empty())
        return tarnix::test::take(files.write_results);
    files.content.append(buffer, static_cast<std::size_t>(count));
    return count;
}

std::exception_ptr close(File file)
{
    auto& files = fake_files::current();
    files.write_down("close " + narrow(file.path));
    if (files.on_close)
        files.on_close();
    return files.close_result;
}

void handle_exception(const std::exception_ptr& failure, File file, Operation operation)
{
    const auto& name = operation == Operation::close ? "close" : "something else";
    fake_files::current().write_down(std::string("judge ") + name + " of " + narrow(file.path));
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace tarnix::io::common::file

namespace foundation::storage::vfs {

provider::FileAttributes File::getAttributes() const
{
    auto& files = tarnix::test::fake_files::current();
    files.write_down("size of " + tarnix::test::narrow(path_));
    if (files.before_size)
        files.before_size();
    return provider::FileAttributes(files.size.value_or(files.content.size()));
}

} // namespace foundation::storage::vfs
