#pragma once

#include <tarnix/ftp/errors.hpp>

namespace tarnix::test {

/// In words.
inline const char* name_of(ftp::failure_kind kind)
{
    switch (kind) {
    case ftp::failure_kind::connection:
        return "connection";
    case ftp::failure_kind::security:
        return "security";
    case ftp::failure_kind::login:
        return "login";
    case ftp::failure_kind::not_found:
        return "not found";
    case ftp::failure_kind::permission:
        return "permission";
    case ftp::failure_kind::conflict:
        return "conflict";
    case ftp::failure_kind::transfer:
        return "transfer";
    case ftp::failure_kind::local_file:
        return "local file";
    case ftp::failure_kind::cancelled:
        return "cancelled";
    }
    return "of no known kind";
}

} // namespace tarnix::test
