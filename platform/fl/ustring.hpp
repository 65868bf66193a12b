#pragma once

#include <string>

namespace fl {

/// Text of the host: UTF-16.
using ustring = std::u16string;

} // namespace fl
