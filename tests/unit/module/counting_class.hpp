#pragma once

#include <zobs/class_info.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace tarnix::test {

/// What happened to the objects and descriptions of a `counting_class`.
struct class_counts {
    int released = 0;
    int registered = 0;
    int created = 0;
    int destroyed = 0;
    int objects = 0;
    int refuse_after = -1; ///< raise when that many parts have been created
    bool instance_data = true;
    bool derivable = true;
    unsigned restrictions = 0;
};

/// A class of host objects whose instance data is its own counter.
class counting_class : public zobs::COSClassInfo {
public:
    counting_class(std::string name, class_counts& counts) : name_(std::move(name)), counts_(counts)
    {
    }

    void release() override
    {
        ++counts_.released;
        delete this;
    }
    const char* class_name() const override { return name_.c_str(); }
    unsigned restrictions() const override { return counts_.restrictions; }
    int property_count() const override { return 0; }
    int method_count() const override { return 0; }
    void on_registered() override { ++counts_.registered; }
    void* create_instance_data() override
    {
        if (counts_.created == counts_.refuse_after)
            throw std::runtime_error("no more of these");
        ++counts_.created;
        return &counts_;
    }
    void destroy_instance_data(void* data) override { counts_.destroyed += data == &counts_; }
    void on_object_created() override { ++counts_.objects; }
    bool is_reference_type() const override { return true; }
    bool has_instance_data() const override { return counts_.instance_data; }
    bool can_be_array_element() const override { return true; }
    bool can_be_derived_from() const override { return counts_.derivable; }
    bool can_be_copied() const override { return false; }
    bool can_be_saved() const override { return false; }
    bool can_be_compared() const override { return false; }
    void* copy_operation() const override { return nullptr; }
    void* save_operation() const override { return nullptr; }
    void* compare_operation() const override { return nullptr; }
    bool can_be_instantiated() const override { return (counts_.restrictions & 1U) == 0; }
    bool is_released_with_last_reference() const override { return true; }
    bool is_info_released_by_host() const override { return true; }

private:
    std::string name_;
    class_counts& counts_;
};

} // namespace tarnix::test
