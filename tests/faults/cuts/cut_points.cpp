#include "cut_points.hpp"

#include <algorithm>
#include <cctype>
#include <map>

namespace tarnix::test {

namespace {

using channel = cutting_gate::channel;
using direction = cutting_gate::direction;

bool ends_command(const std::string& text)
{
    return text.ends_with('\n');
}

/// The last line begins with three digits and a blank.
bool ends_reply(const std::string& text)
{
    if (!text.ends_with('\n'))
        return false;
    const auto before = text.rfind('\n', text.size() - 2);
    const auto line = text.substr(before == std::string::npos ? 0 : before + 1);
    return line.size() > 3 && line[3] == ' ' &&
           std::all_of(line.begin(), line.begin() + 3,
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

/// An empty argument leaves a blank, too.
std::string without_end(std::string text)
{
    while (text.ends_with('\n') || text.ends_with('\r') || text.ends_with(' '))
        text.pop_back();
    return text;
}

} // namespace

conversation::conversation(const std::vector<cutting_gate::passage>& passed)
{
    for (const auto& [where, connection, way, bytes] : passed) {
        if (where == channel::data)
            add(way == direction::to_server ? kind::upload : kind::download, connection, bytes);
        else
            for (const char byte : bytes)
                add(way == direction::to_server ? kind::command : kind::reply, connection, {byte});
    }
    name_stages();
}

/// Lengthens the last event, unless that is complete.
void conversation::add(kind what, int connection, const std::string& text)
{
    const auto is_open = [](const event& last) {
        switch (last.what) {
        case kind::command:
            return !ends_command(last.text);
        case kind::reply:
            return !ends_reply(last.text);
        default:
            return true;
        }
    };
    if (!events_.empty() && events_.back().what == what &&
        events_.back().connection == connection && is_open(events_.back()))
        events_.back().text += text;
    else
        events_.push_back({what, connection, text});
}

void conversation::name_stages()
{
    std::string command;
    int connection = 0;
    bool has_reply = false;
    const auto add_stage = [this](const std::string& name) {
        stages_.push_back(name);
        return stages_.size() - 1;
    };
    add_stage("idle");
    for (const auto& one : events_) {
        std::pair<std::size_t, std::size_t> here;
        if (one.what == kind::command) {
            command = without_end(one.text);
            has_reply = false;
            here.first = add_stage("before " + command);
            here.second = add_stage("in " + command);
        } else if (one.what == kind::reply) {
            if (connection != 0 ? connection != one.connection : command.empty())
                here.second = add_stage("no greeting");
            else
                here.second = add_stage(command + (has_reply ? " under way" : " unanswered"));
            here.first = here.second;
            has_reply = true;
        }
        if (one.what == kind::command || one.what == kind::reply)
            connection = one.connection;
        stages_of_.push_back(here);
    }
    add_stage("answered");
}

std::vector<cut_point> conversation::control_points(direction way) const
{
    const auto wanted = way == direction::to_server ? kind::command : kind::reply;
    std::vector<cut_point> points;
    const auto add_point = [&](std::size_t stage) {
        points.push_back({channel::control, way, points.size(), stage, stages_[stage]});
    };
    for (std::size_t i = 0; i < events_.size(); ++i) {
        if (events_[i].what != wanted)
            continue;
        const auto in_it = stages_of_[i].second;
        if (points.empty())
            add_point(wanted == kind::command ? 0 : in_it);
        for (std::size_t length = 1; length < events_[i].text.size(); ++length)
            add_point(in_it);
        add_point(in_it + 1);
    }
    return points;
}

std::vector<cut_point> conversation::data_points() const
{
    std::vector<cut_point> points;
    std::string command;
    std::map<direction, std::size_t> passed;
    for (const auto& [what, connection, text] : events_) {
        if (what == kind::command)
            command = without_end(text);
        if (what != kind::upload && what != kind::download)
            continue;
        const auto way = what == kind::upload ? direction::to_server : direction::to_client;
        const auto add_point = [&, way = way](direction cut_way, const char* how_much) {
            points.push_back(
                {channel::data, cut_way, passed[way], 0, command + " data " + how_much});
        };
        if (points.empty())
            add_point(direction::to_server, "refused");
        if (passed[way] == 0)
            add_point(way, "none");
        for (std::size_t length = 1; length <= text.size(); ++length) {
            ++passed[way];
            add_point(way, length < text.size() ? "part" : "all");
        }
    }
    return points;
}

} // namespace tarnix::test
