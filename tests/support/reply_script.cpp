#include <support/reply_script.hpp>

namespace tarnix::test {

void reply_script::set(const std::string& word, const scripted_reply& answer, occurrence nth)
{
    const std::lock_guard lock(mutex_);
    auto& known = answers_[word];
    if (nth)
        known.singles.push_back({*nth, answer});
    else
        known.others = answer;
}

scripted_reply reply_script::next(const std::string& word)
{
    const std::lock_guard lock(mutex_);
    const auto known = answers_.find(word);
    if (known == answers_.end())
        return {};
    auto answer = known->second.others;
    auto& singles = known->second.singles;
    for (auto here = singles.begin(); here != singles.end();) {
        if (--here->still_to_come > 0) {
            ++here;
            continue;
        }
        answer = here->answer;
        here = singles.erase(here);
    }
    return answer;
}

void reply_script::clear()
{
    const std::lock_guard lock(mutex_);
    answers_.clear();
}

std::string reply_line(int code, const std::string& text)
{
    return std::to_string(code) + ' ' + text + "\r\n";
}

} // namespace tarnix::test
