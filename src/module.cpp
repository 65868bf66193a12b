#include "raise.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <foundation/core/except.hpp>
#include <tx/allocator.hpp>
#include <tx/array.hpp>
#include <zobs/namespace.hpp>

#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <numeric>

namespace tarnix::io::ftp::core {

/// The class `tarnix.io.internal.Connection`: each object owns one session handle.
class connection_class_info final : public zobs::COSClassInfo {
public:
    ~connection_class_info() override = default;

    void release() override { utFree(this); }
    const char* class_name() const override { return "Connection"; }

    unsigned restrictions() const override { return 0; }
    int property_count() const override { return 0; }
    int method_count() const override { return 0; }
    void on_registered() override {}

    void* create_instance_data() override { return new curl_ptr; }
    void destroy_instance_data(void* data) override { delete static_cast<curl_ptr*>(data); }
    void on_object_created() override {}

    bool is_reference_type() const override { return true; }
    bool has_instance_data() const override { return true; }
    bool can_be_array_element() const override { return true; }
    bool can_be_derived_from() const override { return true; }
    bool can_be_copied() const override { return false; }
    bool can_be_saved() const override { return false; }
    bool can_be_compared() const override { return false; }
    void* copy_operation() const override { return nullptr; }
    void* save_operation() const override { return nullptr; }
    void* compare_operation() const override { return nullptr; }

    bool can_be_instantiated() const override
    {
        return (restrictions() & ~static_cast<unsigned>(zobs::restriction_hidden)) == 0;
    }

    bool is_released_with_last_reference() const override { return true; }
    bool is_info_released_by_host() const override { return true; }
};

namespace {

constexpr auto source = "src/module";

std::size_t element_count(const txArray& array)
{
    if (array.has_unknown_dimensions())
        array.complete_dimensions();
    const auto& dimensions = array.dimensions();
    return std::accumulate(dimensions.begin(), dimensions.end(), std::size_t{1},
                           std::multiplies<>());
}

/// The session handle that the first element carries; null for whatever is no connection.
curl_ptr* find_handle(const txArray* array)
{
    if (!array || element_count(*array) == 0)
        return nullptr;
    const auto* object = omGetArrayElement(array, 0);
    if (!object)
        return nullptr;
    const auto* type = zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection"));
    // Exactly this class: an object of a derived one is refused.
    if (!type || object->getClass() != type)
        return nullptr;
    return static_cast<curl_ptr*>(object->getInstanceData(type));
}

} // namespace

zobs::COSNamespace* getFTPCorePackage()
{
    auto* outer = zobs::omGetInnerNamespace(zobs::omGetNamespace("tarnix"), "io");
    return zobs::omGetInnerNamespace(outer, "internal");
}

void do_init()
{
    auto* package = getFTPCorePackage();
    // The host gives the memory back with its own allocator.
    auto* memory = std::calloc(1, sizeof(connection_class_info));
    if (!memory)
        throw foundation::core::except::bad_alloc();
    package->registerClass(new (memory) connection_class_info, nullptr,
                           zobs::registration_takes_info);
}

curl_ptr& get_curl_ptr(const txArray* array)
{
    const function_scope scope{getLogger(),
                               "curl_ptr &tarnix::io::ftp::core::get_curl_ptr(const txArray *)",
                               source, __LINE__};
    auto* handle = find_handle(array);
    if (!handle)
        raise<ids::CurlHandleUnwrapFailed>();
    return *handle;
}

} // namespace tarnix::io::ftp::core

void TXInitialize_FTPCoreModule()
{
    if (omGetZobsUsingUSM()) {
        tarnix::io::ftp::core::do_init();
        return;
    }
    static std::once_flag registered;
    std::call_once(registered, tarnix::io::ftp::core::do_init);
}

void TXTerminate_FTPCoreModule() {}
