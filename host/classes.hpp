#pragma once

#include <zobs/class.hpp>

#include <memory>

namespace tarnix::host {

/// Shares the ownership of a registered class, so that it lasts until the last of its objects is
/// gone, be that after the end of `main`.
std::shared_ptr<const zobs::COSClass> share(const zobs::COSClass& type);

} // namespace tarnix::host
