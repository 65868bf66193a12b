#include <support/transcript.hpp>

namespace tarnix::test {

void transcript::add_command(int connection, const std::string& line)
{
    const std::lock_guard lock(mutex_);
    commands_.push_back({connection, line});
}

void transcript::add_data(const std::string& bytes)
{
    const std::lock_guard lock(mutex_);
    data_.push_back(bytes);
}

void transcript::add_fault(const std::string& what)
{
    const std::lock_guard lock(mutex_);
    faults_.push_back(what);
}

std::vector<transcript::command> transcript::commands() const
{
    const std::lock_guard lock(mutex_);
    return commands_;
}

std::vector<std::string> transcript::data() const
{
    const std::lock_guard lock(mutex_);
    return data_;
}

std::vector<std::string> transcript::faults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

void transcript::clear()
{
    const std::lock_guard lock(mutex_);
    commands_.clear();
    data_.clear();
}

} // namespace tarnix::test
