#include "local_files.hpp"

#include <cerrno>
#include <fstream>
#include <ios>
#include <system_error>
#include <vector>

namespace tarnix::ftp {

namespace fs = std::filesystem;

namespace {

std::string system_text(int error)
{
    return error == 0 ? "" : ": " + std::generic_category().message(error);
}

std::string named(const fs::path& local)
{
    return "the local file \"" + local.string() + '"';
}

/// None when another block fits at the end of the file, which is more than may be left of its last.
std::optional<int> error_of_growing(const fs::path& written)
{
    constexpr std::size_t block = 64UL << 10;
    errno = 0;
    std::ofstream file(written, std::ios::binary | std::ios::app);
    file << std::string(block, '\0') << std::flush;
    const auto error = errno;
    return file ? std::nullopt : std::optional(error);
}

} // namespace

std::optional<explanation> explain_source(const fs::path& local, std::optional<std::uintmax_t> size,
                                          curl_off_t sent)
{
    std::error_code unknown;
    const auto now = fs::file_size(local, unknown);
    if (size && !unknown && now != *size)
        return explanation{failure_kind::transfer, named(local) + " became " +
                                                       (now < *size ? "shorter" : "longer") +
                                                       " while it was sent"};
    // The largest piece that libcurl asks for, and the one before it that it may still hold.
    constexpr std::size_t read_ahead = 2 * (2UL << 20);
    std::vector<char> piece(read_ahead);
    errno = 0;
    std::ifstream file(local, std::ios::binary);
    file.seekg(sent);
    file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    const auto error = errno;
    if (file.bad())
        return explanation{failure_kind::local_file,
                           named(local) + " could not be read" + system_text(error)};
    return std::nullopt;
}

bool can_grow(const fs::path& written)
{
    return !error_of_growing(written);
}

std::string explain_target(const fs::path& local, const fs::path& written)
{
    return named(local) + " could not be written" +
           system_text(error_of_growing(written).value_or(0));
}

std::string explain_target(const fs::path& local,
                           const foundation::core::except::IMsgIDException& error)
{
    auto text = named(local) + " could not be written";
    for (const auto& argument : error.message_id().arguments)
        if (const auto* reason = std::get_if<std::string>(&argument))
            text += ": " + *reason;
    return text;
}

} // namespace tarnix::ftp
