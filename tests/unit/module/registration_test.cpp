#include <tarnix/host/objects.hpp>
#include <tarnix/io/ftp/core.hpp>
#include <zobs/namespace.hpp>

#include <foundation/core/except.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

bool refuse_memory = false;

/// A namespace that notes what is registered in it, and releases it at once.
class noting_namespace final : public zobs::COSNamespace {
public:
    const std::string& full_name() const override { return name; }
    zobs::COSClass* registerClass(zobs::COSClassInfo* info, const zobs::COSClass* superclass,
                                  unsigned flags) override
    {
        classes.emplace_back(info->class_name());
        given_superclass = superclass;
        given_flags = flags;
        info->release();
        return nullptr;
    }

    std::string name;
    std::vector<std::string> classes;
    const zobs::COSClass* given_superclass = nullptr;
    unsigned given_flags = 0;
};

noting_namespace& internal()
{
    static noting_namespace the_namespace;
    return the_namespace;
}

} // namespace

// The library's way to its namespace ends here, and memory for class information is refused on
// demand (the linker sends the library's calls here).
zobs::COSNamespace* zobs::omGetNamespace(const char* name)
{
    internal().name = name;
    return &internal();
}

zobs::COSNamespace* zobs::omGetInnerNamespace(COSNamespace* outer, const char* name)
{
    internal().name = outer->full_name() + "." + name;
    return &internal();
}

extern "C" void* __real_calloc(std::size_t count, std::size_t size); // NOLINT: the linker's name
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size)  // NOLINT: the linker's name
{
    return refuse_memory ? nullptr : __real_calloc(count, size);
}

namespace {

using namespace tarnix::io::ftp::core; // NOLINT(google-build-using-namespace)

TEST(Registration, names_class_and_namespace_without_superclass_and_with_flags_2)
{
    do_init();
    EXPECT_EQ(internal().name, "tarnix.io.internal");
    EXPECT_EQ(internal().classes, std::vector<std::string>{"Connection"});
    EXPECT_EQ(internal().given_superclass, nullptr);
    EXPECT_EQ(internal().given_flags, 2U);
}

TEST(Registration, happens_at_each_initialisation_when_the_object_system_keeps_track)
{
    tarnix::host::set_self_managed_registration(true);
    internal().classes.clear();
    TXInitialize_FTPCoreModule();
    TXInitialize_FTPCoreModule();
    tarnix::host::set_self_managed_registration(false);
    EXPECT_EQ(internal().classes.size(), 2U);
}

TEST(Registration, happens_once_in_a_process_otherwise)
{
    internal().classes.clear();
    TXInitialize_FTPCoreModule();
    TXInitialize_FTPCoreModule();
    EXPECT_EQ(internal().classes.size(), 1U);
}

TEST(Registration, without_memory_raises_the_hosts_bad_alloc)
{
    refuse_memory = true;
    EXPECT_THROW(do_init(), foundation::core::except::bad_alloc);
    refuse_memory = false;
}

} // namespace
