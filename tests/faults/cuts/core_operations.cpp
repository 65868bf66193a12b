#include "core_operations.hpp"

#include <support/identifier_matchers.hpp>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <type_traits>
#include <utility>
#include <variant>

namespace tarnix::test {

namespace {

namespace core = io::ftp::core;

using core::curl_ptr;

/// Id and arguments; names of local files without their folder, which is another one in each run.
std::string short_text(const resource_core::BaseMsgID& message)
{
    auto text = message.id;
    for (const auto& argument : message.arguments) {
        text += ' ';
        if (const auto* number = std::get_if<long long>(&argument))
            text += std::to_string(*number);
        else if (const auto* word = std::get_if<std::string>(&argument))
            text += *word;
        else
            text += std::filesystem::path(std::get<std::u16string>(argument)).filename().string();
    }
    return text;
}

/// The value of an operation, or the identifier that it raised.
template <typename Call>
std::string said_by(Call call)
{
    try {
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            return "done";
        } else {
            const auto value = call();
            if constexpr (std::is_convertible_v<decltype(value), std::string>)
                return value;
            else
                return testing::PrintToString(value);
        }
    } catch (const foundation::core::except::IMsgIDException& error) {
        return short_text(error.message_id());
    }
}

/// With the URL, where that is not the one of the working folder.
template <typename Call>
auto on_handle(Call call)
{
    return [call](place& here) {
        auto said = said_by([&] { return call(*here.handle, here); });
        const auto url = core::current_remote_url(*here.handle);
        return url == here.url("/home/u/w/") ? said : said + " at " + url;
    };
}

void start_handle(place& here)
{
    here.handle.emplace();
    // A wait for a reply that never comes shall end before it looks like a hang.
    core::set_option(*here.handle, CURLOPT_SERVER_RESPONSE_TIMEOUT, 5LL);
}

void start_in_working_folder(place& here)
{
    start_handle(here);
    here.connect_handle();
    core::cd(*here.handle, here.url(place::working_folder));
}

/// libcurl does not notice that a connection was reset while it was idle: the first request on it
/// fails.
std::string reconnect(place& here)
{
    std::string remark;
    try {
        here.connect_handle();
    } catch (const core::error<core::ids::NoConnection>&) {
        remark = ", connects at the second attempt";
        here.connect_handle();
    }
    const auto folder = core::pwd(*here.handle);
    if (folder != place::login_folder)
        throw std::runtime_error("it is in " + folder);
    return remark;
}

std::string on_one_line(const std::string& content)
{
    return boost::algorithm::replace_all_copy(
        boost::algorithm::replace_all_copy(content, "\n", "\\n"), "\r", "\\r");
}

/// All below `folder`, seen from the login folder.
std::string everything_in(const file_tree& tree, const std::string& folder)
{
    std::string text;
    for (const auto& name : tree.names(folder)) {
        const auto path = folder + '/' + name;
        const auto content = tree.read(path);
        text += ' ' + path.substr(std::string(place::login_folder).size() + 1);
        text += content ? '=' + on_one_line(*content) : "/";
        text += everything_in(tree, path);
    }
    return text;
}

std::string server_files(place& here)
{
    return ";" + everything_in(here.server.tree(), place::login_folder);
}

constexpr auto local_name = "local";

std::string files_on_both_sides(place& here)
{
    const auto path = here.local / local_name;
    return server_files(here) + (std::filesystem::exists(path)
                                     ? "; local=" + on_one_line(read_bytes(path))
                                     : "; no local file");
}

/// How much of it arrived.
std::string part_of(const std::string& listing, const std::string& arrived)
{
    if (arrived == listing)
        return "the listing";
    if (arrived.empty())
        return "no listing";
    return listing.starts_with(arrived) ? "a part of the listing" : arrived;
}

using preparation = std::function<void(place&)>;

void nothing(place&) {}

preparation remote_file(const std::string& name, const std::string& content)
{
    return [=](place& here) {
        here.server.tree().add_file(std::string(place::working_folder) + '/' + name, content);
    };
}

preparation remote_folder(const std::string& name)
{
    return [=](place& here) {
        here.server.tree().add_folder(std::string(place::working_folder) + '/' + name);
    };
}

preparation local_file(const std::string& content)
{
    return [=](place& here) { write_bytes(here.local / local_name, content); };
}

core::ustring local_path(const place& here)
{
    return (here.local / local_name).u16string();
}

template <typename Call>
operation from_the_start(const std::string& name, Call call, std::vector<expectation> control)
{
    return {name,
            [](place& here) { here.server.tree().add_folder(place::working_folder); },
            start_handle,
            on_handle(call),
            reconnect,
            server_files,
            std::move(control)};
}

template <typename Call>
operation in_working_folder(const std::string& name, const preparation& prepare, Call call,
                            std::vector<expectation> control, std::vector<expectation> data = {})
{
    return {name,
            [prepare](place& here) {
                here.server.tree().add_folder(place::working_folder);
                prepare(here);
            },
            start_in_working_folder,
            on_handle(call),
            reconnect,
            server_files,
            std::move(control),
            std::move(data)};
}

template <typename Call>
operation transfer(const std::string& name, const preparation& prepare, Call call,
                   std::vector<expectation> control, std::vector<expectation> data)
{
    auto result = in_working_folder(name, prepare, call, std::move(control), std::move(data));
    result.effect = files_on_both_sides;
    return result;
}

const std::string text = "one\ntwo\n";

} // namespace

std::vector<operation> core_operations()
{
    return {
        from_the_start("connect",
                       [](curl_ptr& h, place& here) {
                           return core::connect(h, "ftp://" + here.gate.address(), "u", "secret",
                                                here.gate.port(), "passive", "none", false, "",
                                                true, true, 0, 0);
                       },
                       {}),
        from_the_start("connect_to_a_folder",
                       [](curl_ptr& h, place& here) {
                           return core::connect(h, here.url("w"), "u", "secret", here.gate.port(),
                                                "passive", "none", false, "", true, true, 0, 0);
                       },
                       {}),
        from_the_start("connect_to_a_missing_folder",
                       [](curl_ptr& h, place& here) {
                           return core::connect(h, here.url("m"), "u", "secret", here.gate.port(),
                                                "passive", "none", false, "", true, true, 0, 0);
                       },
                       {}),
        in_working_folder("pwd", nothing, [](curl_ptr& h, place&) { return core::pwd(h); }, {}),
        in_working_folder("syst", nothing, [](curl_ptr& h, place&) { return core::syst(h); }, {}),
        in_working_folder(
            "cd", remote_folder("a"),
            [](curl_ptr& h, place& here) { return core::cd(h, here.url("/home/u/w/a")); }, {}),
        in_working_folder(
            "unsafe_cd", remote_folder("a"),
            [](curl_ptr& h, place& here) { return core::unsafe_cd(h, here.url("/home/u/w/a")); },
            {}),
        in_working_folder("is_folder", remote_folder("a"),
                          [](curl_ptr& h, place&) { return core::is_folder(h, "a"); }, {}),
        in_working_folder("is_folder_of_nothing", nothing,
                          [](curl_ptr& h, place&) { return core::is_folder(h, "a"); }, {}),
        in_working_folder("create_folder", nothing,
                          [](curl_ptr& h, place&) { core::create_folder(h, "new"); }, {}),
        in_working_folder("create_folder_refused", remote_folder("new"),
                          [](curl_ptr& h, place&) { core::create_folder(h, "new"); }, {}),
        in_working_folder("delete_folder", remote_folder("old"),
                          [](curl_ptr& h, place&) { core::delete_folder(h, "old"); }, {}),
        in_working_folder("delete_folder_refused", remote_file("old/f", "x"),
                          [](curl_ptr& h, place&) { core::delete_folder(h, "old"); }, {}),
        in_working_folder("list", remote_file("f", "x"),
                          [](curl_ptr& h, place&) {
                              return part_of("-rw-r--r-- 1 u u 1 Jan 02 2020 f\n",
                                             core::list(h, ""));
                          },
                          {}, {{"x", {}}}),
        in_working_folder("nlst", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { return part_of("f\n", core::nlst(h, "")); }, {},
                          {{"x", {}}}),
        in_working_folder("dir", remote_file("ab", "x"),
                          [](curl_ptr& h, place&) {
                              return part_of("ab", boost::algorithm::join(core::dir(h, ""), ","));
                          },
                          {}, {{"x", {}}}),
        transfer(
            "send_file", local_file(text),
            [](curl_ptr& h, place& here) { core::send_file(h, local_path(here), u"f", false); }, {},
            {{"x", {}}}),
        transfer("send_text", local_file(text),
                 [](curl_ptr& h, place& here) { core::send_file(h, local_path(here), u"f", true); },
                 {}, {{"x", {}}}),
        transfer(
            "receive_file", remote_file("f", text),
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), false); },
            {}, {{"x", {}}}),
        transfer(
            "receive_text", remote_file("f", text),
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), true); },
            {}, {{"x", {}}}),
        transfer(
            "receive_nothing", nothing,
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), false); },
            {}, {}),
        in_working_folder("delete_remote_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { core::delete_remote_file(h, u"f"); }, {}),
        in_working_folder("rename_remote_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { core::rename_remote_file(h, u"f", u"g"); }, {}),
        in_working_folder("is_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { return core::is_file(h, u"f"); }, {}),
    };
}

} // namespace tarnix::test
