#pragma once

#include <foundation/export.hpp>

/// Frees what was allocated with `calloc` or `malloc` and handed to the host; null is allowed.
TARNIX_PLATFORM_EXPORT void utFree(void* memory) noexcept;
