// Ends with host objects, names and a session in static storage: must end with 0 and with no memory
// error, and each class must be there until the last of its objects is gone.

#include <module/counting_class.hpp>

#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <tx/array.hpp>
#include <zobs/class.hpp>
#include <zobs/namespace.hpp>
#include <zobs/object.hpp>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <vector>

namespace {

using tarnix::test::class_counts;
using tarnix::test::counting_class;

void require(bool held, const char* what)
{
    if (held)
        return;
    std::cerr << "not so at the end: " << what << '\n';
    std::_Exit(1);
}

class_counts base_counts;
class_counts derived_counts;
class_counts unused_counts;
std::optional<zobs::Name> name;

/// Destroyed after the objects below, which were made later.
struct judge {
    ~judge()
    {
        require(derived_counts.destroyed == 1, "the object's own part was destroyed");
        require(base_counts.destroyed == 1, "the object's inherited part was destroyed");
        for (const auto* counts : {&base_counts, &derived_counts, &unused_counts})
            require(counts->released == 1, "each class information was released once");
        require(name->text() == "a.name", "names are still there");
        require(*name == zobs::Name("a.name"), "names are still unique");
        auto* package = zobs::omGetNamespace("exit_order");
        require(package->full_name() == "exit_order", "namespaces are still there");
    }
} last;

std::optional<txArray> connections;
zobs::object_ptr object;

/// Destroyed before the objects.
struct early_witness {
    ~early_witness()
    {
        require(unused_counts.released == 1, "classes without objects are released");
        require(base_counts.released + derived_counts.released == 0, "classes in use are not");
        require(object->getClass()->superclass()->full_name().text() == "exit_order.Base",
                "an object knows its class");
    }
} first;

zobs::COSClass* add_class(const char* class_name, class_counts& counts,
                          const zobs::COSClass* superclass)
{
    return zobs::omGetNamespace("exit_order")
        ->registerClass(new counting_class(class_name, counts), superclass,
                        zobs::registration_takes_info);
}

} // namespace

int main()
{
    const tarnix::host::standalone host;
    TXInitialize_FTPCoreModule();
    name.emplace("a.name");
    add_class("Unused", unused_counts, nullptr);
    object = zobs::omCreateObject(
        *add_class("Derived", derived_counts, add_class("Base", base_counts, nullptr)));
    const auto* type = zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection"));
    connections.emplace(txArray::dimension_list{1, 1},
                        std::vector<zobs::object_ptr>{zobs::omCreateObject(*type)});
}
