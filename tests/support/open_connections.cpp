#include <support/open_connections.hpp>

#include <sys/socket.h>

namespace tarnix::test {

open_connections::entry::entry(open_connections& all, int descriptor)
    : all_(all), descriptor_(descriptor)
{
    const std::lock_guard lock(all_.mutex_);
    all_.descriptors_.insert(descriptor_);
}

open_connections::entry::~entry()
{
    const std::lock_guard lock(all_.mutex_);
    all_.descriptors_.erase(descriptor_);
}

void open_connections::end_all(const std::string& last_words)
{
    const std::lock_guard lock(mutex_);
    for (const auto descriptor : descriptors_) {
        static_cast<void>(
            send(descriptor, last_words.data(), last_words.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
        shutdown(descriptor, SHUT_RDWR);
    }
}

} // namespace tarnix::test
