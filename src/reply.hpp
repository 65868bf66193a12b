#pragma once

namespace tarnix::io::ftp::core::reply {

constexpr long file_unavailable = 550;

} // namespace tarnix::io::ftp::core::reply
