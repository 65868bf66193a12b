#include <support/fake_framework.hpp>

#include <foundation/cppmicroservices/framework.hpp>

#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include <chrono>
#include <stdexcept>

namespace tarnix::test {

namespace {

fake_framework* the_framework = nullptr;

} // namespace

fake_framework::fake_framework()
    : framework_(std::make_shared<cppmicroservices::Framework>(
          cppmicroservices::FrameworkFactory().NewFramework()))
{
    if (the_framework)
        throw std::logic_error("there is a framework already");
    framework_->Start();
    the_framework = this;
}

fake_framework::~fake_framework()
{
    the_framework = nullptr;
    if (running_)
        stop();
}

void fake_framework::stop()
{
    framework_->Stop();
    framework_->WaitForStop(std::chrono::milliseconds::zero());
    running_ = false;
}

std::shared_ptr<cppmicroservices::Framework> fake_framework::current()
{
    return the_framework ? the_framework->framework_ : nullptr;
}

} // namespace tarnix::test

namespace foundation::cppmicroservices {

std::shared_ptr<::cppmicroservices::Framework> getFramework()
{
    return tarnix::test::fake_framework::current();
}

} // namespace foundation::cppmicroservices
