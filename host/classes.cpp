#include "classes.hpp"

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

class registered_class final : public zobs::COSClass,
                               public std::enable_shared_from_this<registered_class> {
public:
    registered_class(zobs::Name full_name, info_ptr info,
                     std::shared_ptr<const zobs::COSClass> superclass)
        : full_name_(full_name), info_(std::move(info)), superclass_(std::move(superclass))
    {
    }
    ~registered_class() = default;

    const zobs::Name& full_name() const override { return full_name_; }
    zobs::COSClassInfo& info() const override { return *info_; }
    const zobs::COSClass* superclass() const override { return superclass_.get(); }

private:
    zobs::Name full_name_;
    info_ptr info_;
    std::shared_ptr<const zobs::COSClass> superclass_;
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
    using class_map = std::map<std::string, std::shared_ptr<registered_class>, std::less<>>;

    std::mutex mutex;
    std::map<std::string, std::unique_ptr<name_space>, std::less<>> namespaces;
    class_map classes;

    static registry& instance()
    {
        // Never destroyed: what has static storage may ask for it later than anything that could.
        static auto& the_registry = *new registry; // NOLINT(cppcoreguidelines-owning-memory)
        static const class_release at_exit{the_registry};
        return the_registry;
    }

    /// Ends what modules have allocated for their classes, but for those with living objects.
    struct class_release {
        registry& all;
        ~class_release()
        {
            class_map released;
            const std::lock_guard lock(all.mutex);
            released.swap(all.classes);
        }
    };

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
        place = std::make_shared<registered_class>(zobs::Name(full_class_name), std::move(owned),
                                                   superclass ? tarnix::host::share(*superclass)
                                                              : nullptr);
        info->on_registered();
    }
    return place.get();
}

} // namespace

namespace zobs {

Name::Name(std::string_view text)
{
    struct interned {
        std::mutex mutex;
        std::set<std::string, std::less<>> names;
    };
    // Never destroyed: names may have static storage.
    static auto& all = *new interned; // NOLINT(cppcoreguidelines-owning-memory)
    const std::lock_guard lock(all.mutex);
    auto found = all.names.find(text);
    if (found == all.names.end())
        found = all.names.emplace(text).first;
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

std::shared_ptr<const zobs::COSClass> tarnix::host::share(const zobs::COSClass& type)
{
    // There are no others.
    return static_cast<const registered_class&>(type).shared_from_this();
}

void tarnix::host::set_self_managed_registration(bool self_managed) noexcept
{
    self_managed_registration = self_managed;
}
