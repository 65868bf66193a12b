#pragma once

/// Marks what a host library gives to the FTP library and to programs. Everything that is thrown
/// across a shared-library boundary carries it too, so that one type information serves all.
#if defined(_WIN32)
#define TARNIX_PLATFORM_EXPORT
#else
#define TARNIX_PLATFORM_EXPORT __attribute__((visibility("default")))
#endif
