#pragma once

#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tarnix::test {

/// What a server does differently for one command.
struct scripted_reply {
    /// In place of what the server would do and reply; empty text for no reply at all.
    std::optional<std::string> instead{};
    /// In place of the reply that is due; the command is carried out.
    std::function<std::string(const std::string& due)> rewritten{};
    /// Drops the control connection then; the reply and the end reach the client together.
    bool close = false;
};

/// Which occurrence of a command is meant, counted from when the script is given.
using occurrence = std::optional<int>;
constexpr occurrence every;

/// Answers by command word. Safe to use from several threads.
class reply_script {
public:
    /// An answer for one occurrence goes before the one for every occurrence.
    void set(const std::string& word, const scripted_reply& answer, occurrence nth);
    /// Counts this occurrence of the word.
    scripted_reply next(const std::string& word);
    void clear();

private:
    struct single {
        int still_to_come;
        scripted_reply answer;
    };
    struct answers {
        std::list<single> singles;
        scripted_reply others;
    };

    std::mutex mutex_;
    std::map<std::string, answers> answers_;
};

/// A reply line with its end.
std::string reply_line(int code, const std::string& text);

} // namespace tarnix::test
