#pragma once

namespace tarnix::io::ftp::core::reply {

constexpr long file_unavailable = 550;
constexpr long first_refusal = 500;
constexpr long last_refusal = 553;

} // namespace tarnix::io::ftp::core::reply
