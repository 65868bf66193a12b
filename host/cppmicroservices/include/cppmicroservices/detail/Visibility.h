#pragma once

/// Marks what crosses shared libraries as an object or an exception: one type information for all.
#if defined(_WIN32)
#define CPPMICROSERVICES_BUNDLED_VISIBLE
#else
#define CPPMICROSERVICES_BUNDLED_VISIBLE __attribute__((visibility("default")))
#endif
