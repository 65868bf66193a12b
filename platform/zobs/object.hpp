#pragma once

#include <foundation/export.hpp>
#include <zobs/class.hpp>

#include <memory>

namespace zobs {

/// An object of the host: a class, and one part of instance data for that class and for each that
/// it is derived from. Lives as long as its references; used by one thread at a time.
class TARNIX_PLATFORM_EXPORT COSObject {
public:
    virtual ~COSObject() = default;

    virtual const COSClass* getClass() const = 0;
    /// The part that belongs to exactly that class; null when the object has none. The object
    /// keeps owning it.
    virtual void* getInstanceData(const COSClass* type) const = 0;
};

using object_ptr = std::shared_ptr<COSObject>;

/// A new object. Raises `std::invalid_argument` for a class without objects of its own, and what
/// creating the instance data raises; then nothing is left of the object.
TARNIX_PLATFORM_EXPORT object_ptr omCreateObject(const COSClass& type);

} // namespace zobs
