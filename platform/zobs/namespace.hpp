#pragma once

#include <foundation/export.hpp>
#include <zobs/class.hpp>

#include <string>

namespace zobs {

/// The one form of registration there is: the host takes the class information over.
constexpr unsigned registration_takes_info = 2;

/// A place for classes and further namespaces; owned by the host and there until the process ends.
/// Safe from any thread.
class TARNIX_PLATFORM_EXPORT COSNamespace {
public:
    virtual const std::string& full_name() const = 0;

    /// Registers a class under its own name. Registering a name again keeps the first class and
    /// releases the information that came with the second. Raises `std::invalid_argument`, with
    /// the information released, for flags other than `registration_takes_info` and for a
    /// superclass that may not be derived from.
    virtual COSClass* registerClass(COSClassInfo* info, const COSClass* superclass,
                                    unsigned flags) = 0;

protected:
    ~COSNamespace() = default;
};

/// The outermost namespace of that name, and a namespace in another; made when first asked for.
TARNIX_PLATFORM_EXPORT COSNamespace* omGetNamespace(const char* name);
TARNIX_PLATFORM_EXPORT COSNamespace* omGetInnerNamespace(COSNamespace* outer, const char* name);

} // namespace zobs

/// True when the object system itself keeps track of what has been registered, so that a module
/// registers its classes at each initialisation.
TARNIX_PLATFORM_EXPORT bool omGetZobsUsingUSM();
