#include "classes.hpp"

#include <tx/allocator.hpp>
#include <tx/array.hpp>
#include <zobs/object.hpp>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <utility>

namespace {

class object final : public zobs::COSObject {
public:
    explicit object(const zobs::COSClass& type) : type_(tarnix::host::share(type)) {}
    object(const object&) = delete;
    object& operator=(const object&) = delete;
    ~object() override
    {
        // The derived class's part goes before those that it builds on.
        for (const auto* type = type_.get(); type; type = type->superclass())
            if (const auto part = parts_.find(type); part != parts_.end())
                type->info().destroy_instance_data(part->second);
    }

    void create_parts(const zobs::COSClass& type)
    {
        if (type.superclass())
            create_parts(*type.superclass());
        if (type.info().has_instance_data()) {
            auto& part = parts_[&type];
            part = type.info().create_instance_data();
        }
    }

    const zobs::COSClass* getClass() const override { return type_.get(); }
    void* getInstanceData(const zobs::COSClass* type) const override
    {
        const auto part = parts_.find(type);
        return part == parts_.end() ? nullptr : part->second;
    }

private:
    std::shared_ptr<const zobs::COSClass> type_;
    std::map<const zobs::COSClass*, void*> parts_;
};

} // namespace

zobs::object_ptr zobs::omCreateObject(const COSClass& type)
{
    if (!type.info().can_be_instantiated())
        throw std::invalid_argument("omCreateObject: " + type.full_name().text() +
                                    " has no objects of its own");
    auto created = std::make_shared<object>(type);
    created->create_parts(type);
    type.info().on_object_created();
    return created;
}

txArray::txArray(dimension_list dimensions, std::vector<zobs::object_ptr> elements)
    : dimensions_(std::move(dimensions)), elements_(std::move(elements))
{
}

txArray::txArray(std::function<dimension_list()> open_dimensions,
                 std::vector<zobs::object_ptr> elements)
    : open_dimensions_(std::move(open_dimensions)), elements_(std::move(elements))
{
}

void txArray::complete_dimensions() const
{
    if (!open_dimensions_)
        return;
    dimensions_ = open_dimensions_();
    open_dimensions_ = nullptr;
}

zobs::COSObject* txArray::element(std::size_t index) const
{
    return index < elements_.size() ? elements_[index].get() : nullptr;
}

zobs::COSObject* omGetArrayElement(const txArray* array, std::size_t index)
{
    return array->element(index);
}

void utFree(void* memory) noexcept
{
    std::free(memory);
}
