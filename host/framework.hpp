#pragma once

#include <cppmicroservices/Framework.h>

#include <memory>

namespace tarnix::host {

/// Makes `framework` (or none) what `foundation::cppmicroservices::getFramework` answers.
void set_framework(std::shared_ptr<::cppmicroservices::Framework> framework);

} // namespace tarnix::host
