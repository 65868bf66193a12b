#include "stage.hpp"

#include "outcome.hpp"
#include "scene.hpp"

#include <live/core/core_session.hpp>

#include <cstdlib>

namespace tarnix::test {

proxy_setting::proxy_setting(const flavour& where)
{
    if (where.proxy.empty())
        return;
    const auto& proxy = running_server(where.proxy);
    const auto says_who = where.proxy.ends_with("-auth") && where.tells_the_proxy_who_it_is;
    const auto who = says_who ? proxy.user() + ':' + proxy.password() + '@' : "";
    const auto url = "http://" + who + proxy.host() + ':' + std::to_string(proxy.port());
    ::setenv("http_proxy", url.c_str(), 1);
}

proxy_setting::~proxy_setting()
{
    ::unsetenv("http_proxy");
}

key_login key_login_to(const flavour& where)
{
    if (where.key.empty())
        return {};
    const auto& server = running_server(where.server);
    const auto name = "key_" + where.key + (where.key_is_encrypted ? "_encrypted" : "");
    return {server[name], where.with_public_key_file ? server[name + "_public"] : "",
            where.key_is_encrypted ? server["passphrase"] : ""};
}

stage::stage(const flavour& where)
    : where_(where), server_(running_server(where.server)), proxy_(where)
{
}

std::string stage::outcome_on_scene(const std::function<std::string()>& operation,
                                    std::string& details) const
{
    reset(server_);
    const scene before(root());
    auto text = outcome_of(operation, details);
    if (const auto changes = before.changes(); !changes.empty())
        text += "; " + changes;
    return text;
}

std::string stage::without_folders(const std::string& text) const
{
    return replaced(replaced(text, root(), "ROOT"), local_.path(), "LOCAL");
}

} // namespace tarnix::test
