#pragma once

#include <foundation/export.hpp>

namespace tarnix::host {

/// Chooses what `omGetZobsUsingUSM` answers; false at first. An embedding test can so walk both
/// ways in which a module registers its classes. Safe from any thread.
TARNIX_PLATFORM_EXPORT void set_self_managed_registration(bool self_managed) noexcept;

} // namespace tarnix::host
