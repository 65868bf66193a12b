#include "names.hpp"

#include "text_checks.hpp"

#include <tarnix/ftp/errors.hpp>

#include <fl/i18n/ustring_conversion.hpp>

#include <exception>
#include <new>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

/// With what a terminal or a log may not take replaced.
std::string printable(const std::string& path)
{
    std::string text;
    for (const char c : path)
        text += c >= 0x20 && c < 0x7F ? c : '?';
    return '"' + text + '"';
}

} // namespace

std::string quoted(const std::string& path)
{
    return '"' + path + '"';
}

core::ustring utf16_name(const std::string& path)
{
    try {
        return fl::i18n::utf8_to_ustring(path);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        throw invalid_input("the path " + printable(path) + " on the server is not UTF-8");
    }
}

core::ustring utf16_path(const std::filesystem::path& local)
{
    try {
        return local.u16string();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        throw failure(failure_kind::local_file,
                      "the name of the local file " + printable(local.native()) + " is not UTF-8");
    }
}

std::string usable_folder(const std::string& name)
{
    if (has_control_character(name))
        throw failure(failure_kind::transfer, "the server's name of the working folder, \"" + name +
                                                  "\", holds a control character");
    return name;
}

} // namespace tarnix::ftp
