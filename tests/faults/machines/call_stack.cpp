#include "call_stack.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarnix::test {

namespace {

/// The name of the function that holds `address`; the nearest name before it is not enough.
std::string_view function_at(const void* address) noexcept
{
    Dl_info info{};
    void* entry = nullptr;
    if (::dladdr1(address, &info, &entry, RTLD_DL_SYMENT) == 0 || !info.dli_sname || !entry)
        return {};
    const auto& symbol = *static_cast<const ElfW(Sym)*>(entry);
    const auto offset = reinterpret_cast<std::uintptr_t>(address) -
                        reinterpret_cast<std::uintptr_t>(info.dli_saddr);
    return offset <= symbol.st_size ? info.dli_sname : std::string_view();
}

} // namespace

std::string_view library_at(const void* address) noexcept
{
    // Thousands of blocks are asked about; dladdr would search all names of the library for each.
    dl_find_object found{};
    if (::_dl_find_object(const_cast<void*>(address), &found) != 0)
        return {};
    const std::string_view path = found.dlfo_link_map->l_name;
    return path.substr(path.rfind('/') + 1);
}

void call_stack::capture() noexcept
{
    depth_ = ::backtrace(frames_.data(), static_cast<int>(frames_.size()));
}

bool call_stack::runs_through(std::string_view part) const noexcept
{
    return std::any_of(frames_.begin(), frames_.begin() + depth_, [part](const void* frame) {
        return function_at(frame).find(part) != std::string_view::npos;
    });
}

std::string_view call_stack::library() const noexcept
{
    for (int i = 0; i < depth_; ++i) {
        const auto name = library_at(frames_[static_cast<std::size_t>(i)]);
        if (name.starts_with("lib") && !name.starts_with("libc.") &&
            !name.starts_with("libstdc++.") && !name.starts_with("libasan."))
            return name;
    }
    return {};
}

} // namespace tarnix::test
