#include "data_faults.hpp"

#include <optional>

namespace tarnix::test {

namespace {

using verdict = data_fault::verdict;

/// Scripts what is said, in place of the usual reply, to any command of these words.
void say(scripted_server& server, std::initializer_list<const char*> words, const std::string& text)
{
    for (const auto* word : words)
        server.reply_raw(word, text);
}

void say_at_end(scripted_server& server, const std::string& text)
{
    for (const auto* word : {"LIST", "NLST", "RETR", "STOR"})
        server.reply_raw(scripted_server::end_of(word), text);
}

/// EPSV is refused, and PASV gets this answer.
misbehaviour passive(const std::string& answer)
{
    return {[answer](scripted_server& server) {
                server.reply_to("EPSV", 500, "What?");
                server.reply_raw("PASV", answer);
            },
            true};
}

/// A real port, with another address or form around it.
misbehaviour passive_as(const std::string& before, const std::string& after)
{
    return {[before, after](scripted_server& server) {
        server.reply_to("EPSV", 500, "What?");
        server.rewrite("PASV", [before, after](const std::string& due) {
            auto port = due.find('(');
            for (int number = 0; number < 4; ++number)
                port = due.find(',', port + 1);
            return before + due.substr(port, due.find(')') - port) + after;
        });
    }};
}

misbehaviour extended(const std::string& answer)
{
    return {[answer](scripted_server& server) { say(server, {"EPSV"}, answer); }, true};
}

misbehaviour size_of(const std::string& answer)
{
    return {[answer](scripted_server& server) { say(server, {"SIZE"}, answer); }, true};
}

misbehaviour conduct(data_conduct how)
{
    return {[how](scripted_server& server) { server.conduct_data(how); }, true};
}

misbehaviour end(const std::string& answer, bool is_silent)
{
    return {[answer](scripted_server& server) { say_at_end(server, answer); }, is_silent};
}

/// A port on which nobody listens, as long as the process lives.
std::string closed_port()
{
    static const bound_port port;
    return std::to_string(port.number());
}

std::string closed_port_numbers()
{
    const auto number = std::stoi(closed_port());
    return std::to_string(number / 256) + ',' + std::to_string(number % 256);
}

std::vector<data_fault> all_faults()
{
    constexpr auto fails = verdict::fails;
    constexpr auto harmless = verdict::harmless;
    constexpr auto not_met = verdict::not_met;
    constexpr auto unnoticed = verdict::unnoticed;
    return {
        // libcurl connects to the host that it talks to, whatever address the server names.
        {"PASV with a foreign address", passive_as("227 ok (192,0,2,1", ")\r\n"), harmless,
         harmless, harmless},
        {"PASV with address 0.0.0.0", passive_as("227 ok (0,0,0,0", ")\r\n"), harmless, harmless,
         harmless},
        {"PASV without parentheses", passive_as("227 127,0,0,1", "\r\n"), harmless, harmless,
         harmless},
        {"PASV with port 0", passive("227 ok (127,0,0,1,0,0)\r\n"), fails, fails, fails},
        {"PASV with numbers above 255", passive("227 ok (127,0,0,1,999,300)\r\n"), fails, fails,
         fails},
        {"PASV with an address above 255", passive("227 ok (300,0,0,1,100,100)\r\n"), fails, fails,
         fails},
        {"PASV with five numbers", passive("227 ok (127,0,0,1,9)\r\n"), fails, fails, fails},
        {"PASV without numbers", passive("227 ok\r\n"), fails, fails, fails},
        {"PASV with a closed port", passive("227 ok (127,0,0,1," + closed_port_numbers() + ")\r\n"),
         fails, fails, fails},
        {"PASV refused too", passive("500 What?\r\n"), fails, fails, fails},
        {"PASV with silence", passive(""), fails, fails, fails},
        // libcurl goes on with PASV.
        {"EPSV with port 0", extended("229 ok (|||0|)\r\n"), harmless, harmless, harmless},
        {"EPSV with a port above 65535", extended("229 ok (|||99999|)\r\n"), fails, fails, fails},
        {"EPSV without a port", extended("229 ok\r\n"), fails, fails, fails},
        {"EPSV with letters", extended("229 ok (|||abc|)\r\n"), fails, fails, fails},

        // Only so much is fetched, and only the digits count.
        {"SIZE too small", size_of("213 3\r\n"), not_met, unnoticed, not_met, {}, fails},
        {"SIZE too big", size_of("213 1000\r\n"), not_met, fails, not_met},
        {"SIZE huge", size_of("213 9223372036854775807\r\n"), not_met, fails, not_met},
        {"SIZE beyond all numbers", size_of("213 99999999999999999999999\r\n"), not_met, harmless,
         not_met},
        {"SIZE negative", size_of("213 -5\r\n"), not_met, unnoticed, not_met},
        {"SIZE that is no number", size_of("213 many\r\n"), not_met, harmless, not_met},

        {"no data connection", conduct(data_conduct::unopened), fails, fails, fails},
        {"a data connection in which nothing moves", conduct(data_conduct::idle), fails, fails,
         fails},
        {"a data connection that is reset", conduct(data_conduct::reset), fails, fails, fails},

        {"data, and nothing after it", end("", true), fails, fails, fails},
        {"data, then 426", end("426 Broken.\r\n", false), fails, fails, fails},
        {"data, then 451", end("451 Trouble.\r\n", false), fails, fails, fails},
        {"data, then 421", end("421 Bye.\r\n", false), fails, fails, fails},
        {"data, then 552", end("552 Quota.\r\n", false), fails, fails, fails},
        {"data, then 250", end("250 Done.\r\n", false), harmless, harmless, harmless},

        // libcurl reads the second reply when the data has come.
        {"150 and 226 at once, before the data",
         {[](scripted_server& server) {
             for (const auto* word : {"LIST", "NLST", "RETR", "STOR"}) {
                 server.rewrite(word, [](const std::string& due) { return due + "226 Done.\r\n"; });
                 server.reply_raw(scripted_server::end_of(word), "");
             }
         }},
         harmless,
         harmless,
         harmless},
        {"data without a 150",
         {[](scripted_server& server) {
              for (const auto* word : {"LIST", "NLST", "RETR", "STOR"})
                  server.rewrite(word, [](const std::string&) { return std::string(); });
          },
          true},
         fails,
         fails,
         fails},

        {"half the data, then 226",
         {[](scripted_server& server) {
             pacing half;
             half.cut_after = 3; // in a name
             server.pace_data(half);
             say_at_end(server, "226 Done.\r\n");
         }},
         unnoticed,
         fails,
         harmless,
         fails},
    };
}

} // namespace

const std::vector<data_fault>& data_faults()
{
    static const auto all = all_faults();
    return all;
}

} // namespace tarnix::test
