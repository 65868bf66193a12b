#pragma once

#include <tarnix/io/ftp/errors.hpp>

#include <tarnix/warning.hpp>

namespace tarnix::io::ftp::core {

using foundation::core::except::raise;

/// Shows the user the warning of `Tag`; execution continues.
template <typename Tag>
void warn()
{
    txWarningMsgId(foundation::core::except::make_message_id<Tag>());
}

} // namespace tarnix::io::ftp::core
