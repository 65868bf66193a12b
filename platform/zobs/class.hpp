#pragma once

#include <foundation/export.hpp>
#include <zobs/class_info.hpp>
#include <zobs/name.hpp>

namespace zobs {

/// A registered class; owned by the host and there until static objects are destroyed, and longer
/// while it has objects. Safe from any thread.
class TARNIX_PLATFORM_EXPORT COSClass {
public:
    /// The class with that full name, "outer.inner.Name"; null when there is none.
    static COSClass* getClass(const Name& full_name);

    virtual const Name& full_name() const = 0;
    virtual COSClassInfo& info() const = 0;
    /// Null for a class that is not derived from another.
    virtual const COSClass* superclass() const = 0;

protected:
    ~COSClass() = default;
};

} // namespace zobs
