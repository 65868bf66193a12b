#pragma once

#include <foundation/export.hpp>
#include <resource_core/base_msg_id.hpp>

/// Shows the user a message as a warning; execution continues.
TARNIX_PLATFORM_EXPORT void txWarningMsgId(const resource_core::BaseMsgID& message);
