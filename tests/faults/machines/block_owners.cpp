#include "block_owners.hpp"

#include "call_stack.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tarnix::test::memory {

namespace {

/// A free place has no block and no asker; one that was taken once has an asker still.
struct place {
    const void* block;
    const void* asker;
};

/// Far more than one operation has at a time; what does not fit is nobody's.
constexpr std::size_t size = 1 << 17;

constinit std::array<place, size> places{};
constinit bool is_watching = false;
constinit std::atomic_flag is_busy = ATOMIC_FLAG_INIT;

class lock {
public:
    lock() noexcept
    {
        while (is_busy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~lock() { is_busy.clear(std::memory_order_release); }
    lock(const lock&) = delete;
    lock& operator=(const lock&) = delete;
};

std::size_t first_place(const void* block) noexcept
{
    constexpr auto alignment = 16;
    return reinterpret_cast<std::uintptr_t>(block) / alignment % size;
}

} // namespace

void watch_owners()
{
    is_watching = true;
}

void end_watch()
{
    is_watching = false;
}

void note_owner(const void* block, const void* asker) noexcept
{
    if (!is_watching || !block)
        return;
    const lock held;
    auto at = first_place(block);
    for (std::size_t looked = 0; looked < size; ++looked, at = (at + 1) % size)
        if (!places[at].block) {
            places[at] = {block, asker};
            return;
        }
}

void forget_owner(const void* block) noexcept
{
    if (!is_watching)
        return;
    const lock held;
    auto at = first_place(block);
    for (std::size_t looked = 0; looked < size && places[at].asker; ++looked, at = (at + 1) % size)
        if (places[at].block == block) {
            places[at].block = nullptr;
            return;
        }
}

long owned_by(bool (*is_meant)(std::string_view library))
{
    long count = 0;
    for (const auto& one : places)
        if (one.block && is_meant(library_at(one.asker)))
            ++count;
    return count;
}

} // namespace tarnix::test::memory
