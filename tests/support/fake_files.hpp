#pragma once

#include <tarnix/io/common/file.hpp>

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// The file layer of a test program that links it: one file in memory, and a failure wherever a
/// test asks for one. One must exist while the library touches files.
///
/// Calls are written as "open to read a", "size of a", "read 16", "write 3", "close a", "judge
/// close of a" (of the operation that is named to `handle_exception`).
class fake_files {
public:
    using io_result = tarnix::io::common::file::io_result;

    fake_files();
    ~fake_files();
    fake_files(const fake_files&) = delete;
    fake_files& operator=(const fake_files&) = delete;

    std::string content;                 ///< read from, appended to
    std::optional<std::size_t> size;     ///< what the file system says; without one the truth
    std::function<void()> before_open;   ///< may throw
    std::function<void()> before_size;   ///< may throw
    std::deque<io_result> read_results;  ///< for the coming reads, instead of the content
    std::deque<io_result> write_results; ///< for the coming writes, instead of taking the bytes
    std::exception_ptr close_result;     ///< what closing answers
    std::function<void()> on_close;      ///< runs while closing

    std::vector<std::string> calls() const { return calls_; }
    /// Files handed out and not released yet, each copy counted.
    long open_copies() const;

    // What the functions of the file layer turn to.
    static fake_files& current();
    tarnix::io::common::file::File open(const std::string& how, const fl::ustring& path);
    void write_down(const std::string& call) { calls_.push_back(call); }
    std::string next_piece(std::size_t limit);

private:
    std::shared_ptr<int> token_;
    std::size_t position_ = 0;
    std::vector<std::string> calls_;
};

} // namespace tarnix::test
