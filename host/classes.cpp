#include <tarnix/host/objects.hpp>
#include <zobs/class.hpp>
#include <zobs/name.hpp>
#include <zobs/namespace.hpp>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

namespace {

std::atomic<bool> self_managed_registration{false};

struct info_release {
    void operator()(zobs::COSClassInfo* info) const { info->release(); }
};

using info_ptr = std::unique_ptr<zobs::COSClassInfo, info_release>;

class registered_class final : public zobs::COSClass {
public:
    registered_class(zobs::Name full_name, info_ptr info, const zobs::COSClass* superclass)
        : full_name_(full_name), info_(std::move(info)), superclass_(superclass)
    {
    }
    ~registered_class() = default;

    const zobs::Name& full_name() const override { return full_name_; }
    zobs::COSClassInfo& info() const override { return *info_; }
    const zobs::COSClass* superclass() const override { return superclass_; }

private:
    zobs::Name full_name_;
    info_ptr info_;
    const zobs::COSClass* superclass_;
};

class name_space final : public zobs::COSNamespace {
public:
    explicit name_space(std::string full_name) : full_name_(std::move(full_name)) {}
    ~name_space() = default;

    const std::string& full_name() const override { return full_name_; }
    zobs::COSClass* registerClass(zobs::COSClassInfo* info, const zobs::COSClass* superclass,
                                  unsigned flags) override;

private:
    std::string full_name_;
};

/// All namespaces and classes of the process, by their full names.
struct registry {
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<name_space>, std::less<>> namespaces;
    std::map<std::string, std::unique_ptr<registered_class>, std::less<>> classes;

    static registry& instance()
    {
        static registry the_registry;
        return the_registry;
    }

    zobs::COSNamespace* find_or_make(const std::string& full_name)
    {
        const std::lock_guard lock(mutex);
        auto& place = namespaces[full_name];
        if (!place)
            place = std::make_unique<name_space>(full_name);
        return place.get();
    }
};

zobs::COSClass* name_space::registerClass(zobs::COSClassInfo* info,
                                          const zobs::COSClass* superclass, unsigned flags)
{
    info_ptr owned(info);
    if (flags != zobs::registration_takes_info)
        throw std::invalid_argument("registerClass: unknown flags " + std::to_string(flags));
    if (superclass && !superclass->info().can_be_derived_from())
        throw std::invalid_argument("registerClass: " + superclass->full_name().text() +
                                    " may not be derived from");
    const auto full_class_name = full_name_ + "." + info->class_name();
    auto& all = registry::instance();
    const std::lock_guard lock(all.mutex);
    auto& place = all.classes[full_class_name];
    if (!place) {
        place = std::make_unique<registered_class>(zobs::Name(full_class_name), std::move(owned),
                                                   superclass);
        info->on_registered();
    }
    return place.get();
}

} // namespace

namespace zobs {

Name::Name(std::string_view text)
{
    static std::mutex mutex;
    static std::set<std::string, std::less<>> names;
    const std::lock_guard lock(mutex);
    auto found = names.find(text);
    if (found == names.end())
        found = names.emplace(text).first;
    text_ = &*found;
}

COSClass* COSClass::getClass(const Name& full_name)
{
    auto& all = registry::instance();
    const std::lock_guard lock(all.mutex);
    const auto found = all.classes.find(full_name.text());
    return found == all.classes.end() ? nullptr : found->second.get();
}

COSNamespace* omGetNamespace(const char* name)
{
    return registry::instance().find_or_make(name);
}

COSNamespace* omGetInnerNamespace(COSNamespace* outer, const char* name)
{
    return registry::instance().find_or_make(outer->full_name() + "." + name);
}

} // namespace zobs

bool omGetZobsUsingUSM()
{
    return self_managed_registration;
}

void tarnix::host::set_self_managed_registration(bool self_managed) noexcept
{
    self_managed_registration = self_managed;
}
