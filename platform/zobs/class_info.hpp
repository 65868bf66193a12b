#pragma once

#include <foundation/export.hpp>

namespace zobs {

/// What a class may not be used for, as bits of `COSClassInfo::restrictions`.
enum class_restriction : unsigned {
    restriction_abstract = 1, ///< its objects exist only as parts of derived ones
    restriction_hidden = 2    ///< not shown to users; says nothing about creating objects
};

/// A module's description of one class of host objects, called by the host. The order of the
/// declarations is the order of the slots, and fixed. Only `create_instance_data` may raise.
class TARNIX_PLATFORM_EXPORT COSClassInfo {
public:
    virtual ~COSClassInfo() = default;

    /// Gives the description back to its allocator: the last call that it gets.
    virtual void release() = 0;
    /// The class's own name, without its namespace.
    virtual const char* class_name() const = 0;

    /// `class_restriction` bits.
    virtual unsigned restrictions() const = 0;
    /// How many properties and methods the class itself offers to scripts.
    virtual int property_count() const = 0;
    virtual int method_count() const = 0;
    /// Tells that the class has been registered.
    virtual void on_registered() = 0;

    /// The part of a new object that belongs to this class; raises when there can be none.
    virtual void* create_instance_data() = 0;
    /// Ends that part; null is allowed.
    virtual void destroy_instance_data(void* data) = 0;
    /// Tells that an object of exactly this class has been created.
    virtual void on_object_created() = 0;

    virtual bool is_reference_type() const = 0; ///< copies of a value name the same object
    virtual bool has_instance_data() const = 0; ///< its two operations are to be called
    virtual bool can_be_array_element() const = 0;
    virtual bool can_be_derived_from() const = 0;
    virtual bool can_be_copied() const = 0;
    virtual bool can_be_saved() const = 0;
    virtual bool can_be_compared() const = 0;
    /// Null where the class cannot be copied, saved or compared.
    virtual void* copy_operation() const = 0;
    virtual void* save_operation() const = 0;
    virtual void* compare_operation() const = 0;

    /// True when nothing but being hidden restricts the class.
    virtual bool can_be_instantiated() const = 0;

    virtual bool is_released_with_last_reference() const = 0;
    virtual bool is_info_released_by_host() const = 0;
};

} // namespace zobs
