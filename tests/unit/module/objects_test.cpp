#include "counting_class.hpp"

#include <tx/array.hpp>
#include <zobs/class.hpp>
#include <zobs/namespace.hpp>
#include <zobs/object.hpp>

#include <gtest/gtest.h>

#include <deque>
#include <stdexcept>

namespace {

using tarnix::test::class_counts;
using tarnix::test::counting_class;
using zobs::registration_takes_info;

/// Counters are written to when the process's classes are released, after the last test; so they
/// are never destroyed.
class_counts& new_counts()
{
    static auto& all = *new std::deque<class_counts>;
    return all.emplace_back();
}

zobs::COSNamespace* test_namespace()
{
    return zobs::omGetInnerNamespace(zobs::omGetNamespace("objects_test"), "inner");
}

TEST(Name, equal_texts_are_the_same_name)
{
    EXPECT_EQ(zobs::Name("a.b.C"), zobs::Name(std::string("a.b.") + "C"));
    EXPECT_FALSE(zobs::Name("a.b.C") == zobs::Name("a.b.c"));
    EXPECT_EQ(zobs::Name("a.b.C").text(), "a.b.C");
}

TEST(Namespace, is_the_same_each_time_and_knows_its_full_name)
{
    EXPECT_EQ(test_namespace(), test_namespace());
    EXPECT_EQ(test_namespace()->full_name(), "objects_test.inner");
}

TEST(Namespace, a_registered_class_is_found_by_its_full_name)
{
    auto& counts = new_counts();
    auto* type = test_namespace()->registerClass(new counting_class("Found", counts), nullptr,
                                                 registration_takes_info);
    EXPECT_EQ(zobs::COSClass::getClass(zobs::Name("objects_test.inner.Found")), type);
    EXPECT_EQ(zobs::COSClass::getClass(zobs::Name("Found")), nullptr);
    EXPECT_EQ(counts.registered, 1);
    EXPECT_EQ(counts.released, 0);
}

TEST(Namespace, registering_a_name_again_keeps_the_first_class_and_releases_the_second_info)
{
    auto& first_counts = new_counts();
    auto& second_counts = new_counts();
    auto* first = test_namespace()->registerClass(new counting_class("Twice", first_counts),
                                                  nullptr, registration_takes_info);
    auto* second = test_namespace()->registerClass(new counting_class("Twice", second_counts),
                                                   nullptr, registration_takes_info);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first_counts.released, 0);
    EXPECT_EQ(second_counts.released, 1);
    EXPECT_EQ(second_counts.registered, 0);
}

TEST(Namespace, other_flags_are_refused_and_the_info_is_released)
{
    auto& counts = new_counts();
    EXPECT_THROW(test_namespace()->registerClass(new counting_class("Flags", counts), nullptr, 3),
                 std::invalid_argument);
    EXPECT_EQ(counts.released, 1);
    EXPECT_EQ(zobs::COSClass::getClass(zobs::Name("objects_test.inner.Flags")), nullptr);
}

TEST(Namespace, deriving_from_a_class_that_does_not_allow_it_is_refused)
{
    auto& base_counts = new_counts();
    base_counts.derivable = false;
    auto& counts = new_counts();
    auto* base = test_namespace()->registerClass(new counting_class("Final", base_counts), nullptr,
                                                 registration_takes_info);
    EXPECT_THROW(test_namespace()->registerClass(new counting_class("Below", counts), base,
                                                 registration_takes_info),
                 std::invalid_argument);
    EXPECT_EQ(counts.released, 1);
}

TEST(Object, owns_one_part_for_its_class_and_for_each_above)
{
    auto& base_counts = new_counts();
    auto& counts = new_counts();
    auto* base = test_namespace()->registerClass(new counting_class("Base", base_counts), nullptr,
                                                 registration_takes_info);
    auto* type = test_namespace()->registerClass(new counting_class("Derived", counts), base,
                                                 registration_takes_info);
    auto object = zobs::omCreateObject(*type);
    EXPECT_EQ(object->getClass(), type);
    EXPECT_EQ(object->getInstanceData(type), &counts);
    EXPECT_EQ(object->getInstanceData(base), &base_counts);
    EXPECT_EQ(counts.objects, 1);
    EXPECT_EQ(base_counts.objects, 0);

    auto second_reference = object;
    object.reset();
    EXPECT_EQ(counts.destroyed, 0);
    second_reference.reset();
    EXPECT_EQ(counts.destroyed, 1);
    EXPECT_EQ(base_counts.destroyed, 1);
}

TEST(Object, a_part_that_cannot_be_created_leaves_nothing_of_the_object)
{
    auto& base_counts = new_counts();
    auto& counts = new_counts();
    counts.refuse_after = 0;
    auto* base = test_namespace()->registerClass(new counting_class("Kept", base_counts), nullptr,
                                                 registration_takes_info);
    auto* type = test_namespace()->registerClass(new counting_class("Refusing", counts), base,
                                                 registration_takes_info);
    EXPECT_THROW(zobs::omCreateObject(*type), std::runtime_error);
    EXPECT_EQ(base_counts.destroyed, base_counts.created);
    EXPECT_EQ(counts.destroyed, 0);
    EXPECT_EQ(counts.objects, 0);
}

TEST(Object, a_class_without_instance_data_has_objects_with_none)
{
    auto& counts = new_counts();
    counts.instance_data = false;
    auto* type = test_namespace()->registerClass(new counting_class("Bare", counts), nullptr,
                                                 registration_takes_info);
    EXPECT_EQ(zobs::omCreateObject(*type)->getInstanceData(type), nullptr);
    EXPECT_EQ(counts.created, 0);
}

TEST(Object, a_class_that_cannot_be_instantiated_has_no_objects)
{
    auto& counts = new_counts();
    counts.restrictions = zobs::restriction_abstract;
    auto* type = test_namespace()->registerClass(new counting_class("Abstract", counts), nullptr,
                                                 registration_takes_info);
    EXPECT_THROW(zobs::omCreateObject(*type), std::invalid_argument);
}

TEST(Array, open_dimensions_are_asked_for_once)
{
    int asked = 0;
    const txArray array(
        [&] {
            ++asked;
            return txArray::dimension_list{2, 3};
        },
        {});
    EXPECT_TRUE(array.has_unknown_dimensions());
    array.complete_dimensions();
    array.complete_dimensions();
    EXPECT_FALSE(array.has_unknown_dimensions());
    EXPECT_EQ(array.dimensions(), (txArray::dimension_list{2, 3}));
    EXPECT_EQ(asked, 1);
}

TEST(Array, there_is_no_object_beyond_the_last_element)
{
    const txArray array(txArray::dimension_list{1, 1}, {nullptr});
    EXPECT_EQ(omGetArrayElement(&array, 0), nullptr);
    EXPECT_EQ(omGetArrayElement(&array, 1), nullptr);
}

} // namespace
