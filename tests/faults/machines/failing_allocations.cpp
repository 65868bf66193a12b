#include "failing_allocations.hpp"

#include "block_owners.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <malloc.h>
#include <new>

// The allocator below: the sanitizers' where there is one, so that they go on checking.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
[[gnu::weak]] void* __interceptor_malloc(std::size_t);
[[gnu::weak]] void* __interceptor_calloc(std::size_t, std::size_t);
[[gnu::weak]] void* __interceptor_realloc(void*, std::size_t);
[[gnu::weak]] void* __interceptor_memalign(std::size_t, std::size_t);
[[gnu::weak]] void __interceptor_free(void*);
}

namespace tarnix::test::memory {

namespace {

constexpr auto never = std::numeric_limits<long>::max();

// Memory is asked for before any constructor has run, and before a sanitizer is ready for code of
// its own. libcurl may look up a name in a thread.
long count = 0;
long failures = 0;
long first_to_fail = never;
long last_to_fail = never;
long blocks = 0;
constinit thread_local bool is_looking = false;
constinit call_stack first_failure;

long add(long& to, long amount) noexcept
{
    return __atomic_add_fetch(&to, amount, __ATOMIC_RELAXED);
}

bool may_have() noexcept
{
    if (is_looking)
        return true;
    const auto number = add(count, 1);
    if (number < first_to_fail || number > last_to_fail)
        return true;
    if (add(failures, 1) == 1) {
        is_looking = true;
        first_failure.capture();
        is_looking = false;
    }
    errno = ENOMEM;
    return false;
}

void* counted(void* block, const void* asker) noexcept
{
    if (block)
        add(blocks, 1);
    note_owner(block, asker);
    return block;
}

void* allocate(std::size_t size, const void* asker) noexcept
{
    if (!may_have())
        return nullptr;
    return counted(__interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size), asker);
}

void* allocate_zeroed(std::size_t number, std::size_t size, const void* asker) noexcept
{
    if (!may_have())
        return nullptr;
    return counted(__interceptor_calloc ? __interceptor_calloc(number, size)
                                        : __libc_calloc(number, size),
                   asker);
}

void* allocate_aligned(std::size_t alignment, std::size_t size, const void* asker) noexcept
{
    if (!may_have())
        return nullptr;
    return counted(__interceptor_memalign ? __interceptor_memalign(alignment, size)
                                          : __libc_memalign(alignment, size),
                   asker);
}

void release(void* block) noexcept
{
    if (!block)
        return;
    add(blocks, -1);
    forget_owner(block);
    if (__interceptor_free)
        __interceptor_free(block);
    else
        __libc_free(block);
}

void* reallocate(void* block, std::size_t size, const void* asker) noexcept
{
    if (!block)
        return allocate(size, asker);
    if (size == 0) {
        release(block);
        return nullptr;
    }
    if (!may_have())
        return nullptr;
    // Before it may be somebody else's.
    forget_owner(block);
    auto* const moved =
        __interceptor_realloc ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
    note_owner(moved ? moved : block, asker);
    return moved;
}

void* copy_text(const char* text, std::size_t length, const void* asker) noexcept
{
    auto* copy = static_cast<char*>(allocate(length + 1, asker));
    if (!copy)
        return nullptr;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

void* allocate_or_throw(std::size_t size, const void* asker)
{
    if (auto* block = allocate(size, asker))
        return block;
    throw std::bad_alloc();
}

void* allocate_or_throw(std::size_t size, std::align_val_t alignment, const void* asker)
{
    if (auto* block = allocate_aligned(static_cast<std::size_t>(alignment), size, asker))
        return block;
    throw std::bad_alloc();
}

} // namespace

void fail_at(long nth, reach how)
{
    count = 0;
    failures = 0;
    first_failure.forget();
    first_to_fail = nth > 0 ? nth : never;
    last_to_fail = how == reach::one ? first_to_fail : never;
}

void recover()
{
    first_to_fail = never;
    last_to_fail = never;
}

long asked()
{
    return count;
}

long failed()
{
    return failures;
}

const call_stack& place_of_first_failure()
{
    return first_failure;
}

bool is_sanitized()
{
    return __interceptor_malloc != nullptr;
}

long blocks_in_use()
{
    return blocks;
}

} // namespace tarnix::test::memory

namespace memory = tarnix::test::memory;

// Seen by the libraries.
#pragma GCC visibility push(default)

extern "C" {

void* malloc(std::size_t size) noexcept
{
    return memory::allocate(size, __builtin_return_address(0));
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    return memory::allocate_zeroed(number, size, __builtin_return_address(0));
}

void* realloc(void* block, std::size_t size) noexcept
{
    return memory::reallocate(block, size, __builtin_return_address(0));
}

void free(void* block) noexcept
{
    memory::release(block);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return memory::allocate_aligned(alignment, size, __builtin_return_address(0));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return memory::allocate_aligned(alignment, size, __builtin_return_address(0));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
{
    *block = memory::allocate_aligned(alignment, size, __builtin_return_address(0));
    return *block ? 0 : ENOMEM;
}

char* strdup(const char* text) noexcept
{
    return static_cast<char*>(
        memory::copy_text(text, std::strlen(text), __builtin_return_address(0)));
}

char* strndup(const char* text, std::size_t limit) noexcept
{
    return static_cast<char*>(
        memory::copy_text(text, ::strnlen(text, limit), __builtin_return_address(0)));
}

} // extern "C"

void* operator new(std::size_t size)
{
    return memory::allocate_or_throw(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size)
{
    return memory::allocate_or_throw(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return memory::allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return memory::allocate(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return memory::allocate_or_throw(size, alignment, __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return memory::allocate_or_throw(size, alignment, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return memory::allocate_aligned(static_cast<std::size_t>(alignment), size,
                                    __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return memory::allocate_aligned(static_cast<std::size_t>(alignment), size,
                                    __builtin_return_address(0));
}

void operator delete(void* block) noexcept
{
    memory::release(block);
}
void operator delete[](void* block) noexcept
{
    memory::release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
    memory::release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    memory::release(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    memory::release(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    memory::release(block);
}
void operator delete(void* block, std::align_val_t) noexcept
{
    memory::release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept
{
    memory::release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    memory::release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept
{
    memory::release(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    memory::release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    memory::release(block);
}

#pragma GCC visibility pop
