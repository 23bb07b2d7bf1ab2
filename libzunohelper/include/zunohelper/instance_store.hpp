#pragma once

// The shared objects of a service container: one for a type, or several of one type told apart by a
// key. The store owns the former; of the latter it only remembers those that somebody else owns.

#include "zunohelper/export.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <typeindex>
#include <unordered_map>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

/// What the store keeps for one type, its type forgotten.
class ZUNOHELPER_API instance_wrapper_base {
  public:
    instance_wrapper_base() = default;
    instance_wrapper_base(const instance_wrapper_base&) = delete;
    instance_wrapper_base& operator=(const instance_wrapper_base&) = delete;
    virtual ~instance_wrapper_base();
};

/// The one instance of T.
template <typename T>
class instance_wrapper final : public instance_wrapper_base {
  public:
    explicit instance_wrapper(std::shared_ptr<T> instance) : instance_{std::move(instance)} {}

    [[nodiscard]] const std::shared_ptr<T>& instance() const noexcept { return instance_; }

  private:
    std::shared_ptr<T> instance_;
};

/// The living instances of T by key.
template <typename T, typename Key, typename Hash, typename Equal>
class instance_map_wrapper final : public instance_wrapper_base {
  public:
    /// @return the instance for an equal key; null when there is none or nobody owns it any more.
    [[nodiscard]] std::shared_ptr<T> find(const Key& key) const {
        const auto found = instances_.find(key);
        return found == instances_.end() ? nullptr : found->second.lock();
    }

    /// Remembers an instance, in place of a dead one for an equal key. Entries of dead instances
    /// are dropped when the map grows: their keys may hold passwords, and a process that runs for
    /// months with changing keys must not collect them.
    /// @return false when a living instance for an equal key is there; nothing changes then.
    [[nodiscard]] bool store(const Key& key, const std::shared_ptr<T>& instance) {
        const auto found = instances_.find(key);
        if (found != instances_.end()) {
            if (!found->second.expired()) {
                return false;
            }
            found->second = instance;
            return true;
        }
        std::erase_if(instances_, [](const auto& entry) { return entry.second.expired(); });
        instances_.emplace(key, instance);
        return true;
    }

    /// @return how many keys are remembered, those of dead instances included.
    [[nodiscard]] std::size_t size() const noexcept { return instances_.size(); }

  private:
    std::unordered_map<Key, std::weak_ptr<T>, Hash, Equal> instances_;
};

/// Not thread-safe: service_container guards it. Types are compared by their names, so that two
/// libraries mean the same entry by the same type.
class ZUNOHELPER_API instance_store {
  public:
    instance_store();
    instance_store(const instance_store&) = delete;
    instance_store& operator=(const instance_store&) = delete;
    ~instance_store();

    /// @return the instance of T, or null.
    template <typename T>
    [[nodiscard]] std::shared_ptr<T> find() const {
        const auto* const wrapper = find_wrapper(typeid(T));
        return wrapper ? static_cast<const instance_wrapper<T>*>(wrapper)->instance() : nullptr;
    }

    /// @throws utils::exceptions::already_contains_instance naming the type T.
    template <typename T>
    void add(std::shared_ptr<T> instance) {
        insert(typeid(T), std::make_unique<instance_wrapper<T>>(std::move(instance)));
    }

    /// @return the map of the instances of T by Key, or null before the first one was stored.
    template <typename T, typename Key, typename Hash, typename Equal>
    [[nodiscard]] instance_map_wrapper<T, Key, Hash, Equal>* find_map() const {
        using map = instance_map_wrapper<T, Key, Hash, Equal>;
        return static_cast<map*>(find_wrapper(typeid(map)));
    }

    /// The same, created when it is not there.
    template <typename T, typename Key, typename Hash, typename Equal>
    [[nodiscard]] instance_map_wrapper<T, Key, Hash, Equal>& map() {
        using map = instance_map_wrapper<T, Key, Hash, Equal>;
        if (!find_wrapper(typeid(map))) {
            insert(typeid(map), std::make_unique<map>());
        }
        return static_cast<map&>(*find_wrapper(typeid(map)));
    }

  private:
    void insert(std::type_index type, std::unique_ptr<instance_wrapper_base> wrapper);
    [[nodiscard]] instance_wrapper_base* find_wrapper(std::type_index type) const;

    std::map<std::type_index, std::unique_ptr<instance_wrapper_base>> wrappers_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
