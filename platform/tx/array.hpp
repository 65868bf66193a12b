#pragma once

#include <foundation/export.hpp>
#include <zobs/object.hpp>

#include <cstddef>
#include <functional>
#include <vector>

/// A value of the host: elements in any number of dimensions. An element that is no object (a
/// number, a text) stands here as null. Dimensions may be left open until somebody asks.
class TARNIX_PLATFORM_EXPORT txArray {
public:
    using dimension_list = std::vector<std::size_t>;

    txArray(dimension_list dimensions, std::vector<zobs::object_ptr> elements);
    txArray(std::function<dimension_list()> open_dimensions,
            std::vector<zobs::object_ptr> elements);

    bool has_unknown_dimensions() const { return static_cast<bool>(open_dimensions_); }
    /// Makes open dimensions known; raises what finding them out raises.
    void complete_dimensions() const;
    const dimension_list& dimensions() const { return dimensions_; }

    /// Null beyond the last element.
    zobs::COSObject* element(std::size_t index) const;

private:
    mutable dimension_list dimensions_;
    mutable std::function<dimension_list()> open_dimensions_;
    std::vector<zobs::object_ptr> elements_;
};

/// The element as an object, which the array keeps owning; null when it is none.
TARNIX_PLATFORM_EXPORT zobs::COSObject* omGetArrayElement(const txArray* array, std::size_t index);
