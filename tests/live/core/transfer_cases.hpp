#pragma once

#include <string>

namespace tarnix::test {

/// Every byte value, in runs that no line-end conversion leaves alone; longer than libcurl's
/// buffers, and no multiple of them.
inline std::string awkward_bytes()
{
    std::string bytes;
    while (bytes.size() < 1'000'003) {
        bytes += static_cast<char>(bytes.size() % 256);
        bytes += static_cast<char>(bytes.size() / 256 % 256);
        bytes += "\n\r\n\r";
    }
    return bytes;
}

} // namespace tarnix::test
