#include <support/step_faults.hpp>

namespace tarnix::test {

void step_faults::begin()
{
    const std::lock_guard lock(mutex_);
    steps_.clear();
    single_.clear();
    all_.reset();
}

void step_faults::disturb(std::size_t step, const reply_fault& fault)
{
    const std::lock_guard lock(mutex_);
    single_[step] = fault;
}

void step_faults::disturb_from(std::size_t step, const reply_fault& fault)
{
    const std::lock_guard lock(mutex_);
    first_of_all_ = step;
    all_ = fault;
}

std::vector<std::string> step_faults::steps() const
{
    const std::lock_guard lock(mutex_);
    return steps_;
}

std::optional<reply_fault> step_faults::next(const std::string& name)
{
    const std::lock_guard lock(mutex_);
    const auto number = steps_.size();
    steps_.push_back(name);
    if (const auto found = single_.find(number); found != single_.end())
        return found->second;
    return number >= first_of_all_ ? all_ : std::nullopt;
}

} // namespace tarnix::test
