#include "counting_class.hpp"

#include <support/identifier_matchers.hpp>

#include <tarnix/host/objects.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>
#include <tx/array.hpp>
#include <zobs/class.hpp>
#include <zobs/namespace.hpp>
#include <zobs/object.hpp>

#include <curl/curl.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace tarnix::io::ftp::core; // NOLINT(google-build-using-namespace)
using tarnix::test::id_of;

namespace {

// What the library asks the host and libcurl for, counted and made to fail on demand.
int easy_handles = 0;

} // namespace

CURL* curl_easy_init()
{
    static const auto real = reinterpret_cast<CURL* (*)()>(dlsym(RTLD_NEXT, "curl_easy_init"));
    ++easy_handles;
    return real();
}

void curl_easy_cleanup(CURL* handle)
{
    static const auto real =
        reinterpret_cast<void (*)(CURL*)>(dlsym(RTLD_NEXT, "curl_easy_cleanup"));
    if (handle)
        --easy_handles;
    real(handle);
}

namespace {

const zobs::COSClass* connection_class()
{
    TXInitialize_FTPCoreModule();
    return zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection"));
}

txArray array_of(std::vector<zobs::object_ptr> objects)
{
    const auto count = objects.size();
    return {txArray::dimension_list{1, count}, std::move(objects)};
}

/// An object that answers whatever a test wants.
struct odd_object : zobs::COSObject {
    const zobs::COSClass* type = nullptr;
    void* data = nullptr;

    const zobs::COSClass* getClass() const override { return type; }
    void* getInstanceData(const zobs::COSClass*) const override { return data; }
};

class Module : public testing::Test {
    tarnix::host::standalone services_;
};

using GetCurlPtr = Module;
using ConnectionClass = Module;

TEST_F(Module, its_package_is_the_inner_namespace)
{
    EXPECT_EQ(getFTPCorePackage()->full_name(), "tarnix.io.internal");
}

TEST_F(Module, initialising_twice_registers_the_class_once)
{
    const auto* first = connection_class();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->superclass(), nullptr);
    EXPECT_EQ(connection_class(), first);
}

TEST_F(Module, terminating_does_nothing)
{
    const auto* type = connection_class();
    TXTerminate_FTPCoreModule();
    EXPECT_EQ(zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection")), type);
}

TEST_F(Module, its_entry_points_have_unmangled_names)
{
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TXInitialize_FTPCoreModule"),
              reinterpret_cast<void*>(&TXInitialize_FTPCoreModule));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TXTerminate_FTPCoreModule"),
              reinterpret_cast<void*>(&TXTerminate_FTPCoreModule));
}

TEST_F(ConnectionClass, its_answers_are_fixed)
{
    auto& info = connection_class()->info();
    EXPECT_STREQ(info.class_name(), "Connection");
    EXPECT_EQ(info.restrictions(), 0U);
    EXPECT_EQ(info.property_count(), 0);
    EXPECT_EQ(info.method_count(), 0);
    EXPECT_TRUE(info.is_reference_type());
    EXPECT_TRUE(info.has_instance_data());
    EXPECT_TRUE(info.can_be_array_element());
    EXPECT_TRUE(info.can_be_derived_from());
    EXPECT_FALSE(info.can_be_copied());
    EXPECT_FALSE(info.can_be_saved());
    EXPECT_FALSE(info.can_be_compared());
    EXPECT_EQ(info.copy_operation(), nullptr);
    EXPECT_EQ(info.save_operation(), nullptr);
    EXPECT_EQ(info.compare_operation(), nullptr);
    EXPECT_TRUE(info.can_be_instantiated());
    EXPECT_TRUE(info.is_released_with_last_reference());
    EXPECT_TRUE(info.is_info_released_by_host());
}

TEST_F(ConnectionClass, destroying_no_instance_data_is_allowed)
{
    const int before = easy_handles;
    connection_class()->info().destroy_instance_data(nullptr);
    EXPECT_EQ(easy_handles, before);
}

TEST_F(ConnectionClass, each_object_has_its_own_easy_handle_for_its_lifetime)
{
    const auto* type = connection_class();
    const int before = easy_handles;
    auto one = array_of({zobs::omCreateObject(*type)});
    {
        const auto two = array_of({zobs::omCreateObject(*type)});
        EXPECT_EQ(easy_handles, before + 2);
        EXPECT_NE(get_curl_ptr(&one).get(), get_curl_ptr(&two).get());
    }
    EXPECT_EQ(easy_handles, before + 1);
    one = array_of({});
    EXPECT_EQ(easy_handles, before);
}

TEST(ConnectionClassWithoutServices, creating_an_object_raises_the_handles_failure)
{
    tarnix::host::standalone_options options;
    options.libcurl_initializer = false;
    const tarnix::host::standalone services(options);
    EXPECT_ERROR_ID(zobs::omCreateObject(*connection_class()),
                    id_of<ids::LibraryInitializationFailure>());
}

TEST_F(GetCurlPtr, a_null_array_is_refused)
{
    EXPECT_ERROR_ID(get_curl_ptr(nullptr), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, an_array_of_no_elements_is_refused)
{
    const auto object = zobs::omCreateObject(*connection_class());
    const txArray empty(txArray::dimension_list{0, 0}, {object});
    EXPECT_ERROR_ID(get_curl_ptr(&empty), id_of<ids::CurlHandleUnwrapFailed>());
    const txArray one_by_none(txArray::dimension_list{1, 0}, {object});
    EXPECT_ERROR_ID(get_curl_ptr(&one_by_none), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, dimensions_left_open_are_completed_first)
{
    const auto object = zobs::omCreateObject(*connection_class());
    const txArray open([] { return txArray::dimension_list{1, 1}; }, {object});
    EXPECT_EQ(&get_curl_ptr(&open), object->getInstanceData(connection_class()));
    const txArray open_and_empty([] { return txArray::dimension_list{0, 1}; }, {object});
    EXPECT_ERROR_ID(get_curl_ptr(&open_and_empty), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, an_element_that_is_no_object_is_refused)
{
    const auto array = array_of({nullptr});
    EXPECT_ERROR_ID(get_curl_ptr(&array), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, two_objects_yield_the_handle_of_the_first)
{
    const auto* type = connection_class();
    const auto first = zobs::omCreateObject(*type);
    const auto array = array_of({first, zobs::omCreateObject(*type)});
    EXPECT_EQ(&get_curl_ptr(&array), first->getInstanceData(type));
}

TEST_F(GetCurlPtr, an_object_without_class_is_refused)
{
    auto object = std::make_shared<odd_object>();
    object->data = object.get();
    const auto array = array_of({object});
    EXPECT_ERROR_ID(get_curl_ptr(&array), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, an_object_without_instance_data_is_refused)
{
    auto object = std::make_shared<odd_object>();
    object->type = connection_class();
    const auto array = array_of({object});
    EXPECT_ERROR_ID(get_curl_ptr(&array), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, an_object_of_another_class_is_refused_even_with_instance_data)
{
    static tarnix::test::class_counts counts;
    auto* other = zobs::omGetNamespace("module_test")
                      ->registerClass(new tarnix::test::counting_class("Other", counts), nullptr,
                                      zobs::registration_takes_info);
    const auto array = array_of({zobs::omCreateObject(*other)});
    EXPECT_ERROR_ID(get_curl_ptr(&array), id_of<ids::CurlHandleUnwrapFailed>());
}

TEST_F(GetCurlPtr, an_object_of_a_derived_class_is_refused)
{
    static tarnix::test::class_counts counts;
    auto* derived =
        getFTPCorePackage()->registerClass(new tarnix::test::counting_class("Derived", counts),
                                           connection_class(), zobs::registration_takes_info);
    const auto object = zobs::omCreateObject(*derived);
    EXPECT_NE(object->getInstanceData(connection_class()), nullptr);
    const auto array = array_of({object});
    EXPECT_ERROR_ID(get_curl_ptr(&array), id_of<ids::CurlHandleUnwrapFailed>());
}

} // namespace
