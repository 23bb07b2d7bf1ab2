#pragma once

// Where sensors, checks and the module itself obtain what they share: factories, registered while
// the module is built, and the instances that they produce.
//
//     container.register_factory<factory<clock_interface>>([] { return make_clock(); });
//     const auto clock = container.get<clock_interface>(); // the same object every time

#include "common/catalogue/framework_exceptions.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/factory_store.hpp"
#include "zunohelper/instance_store.hpp"

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

/// Thread-safe. One mutex is held for the whole of get, get_or_create and the registrations, a
/// factory's work included, so a factory runs once however many threads ask; it is recursive, so a
/// factory may ask the container for other services (not, directly or indirectly, for its own). It
/// is not held while a service is used.
///
/// Shared instances that keep a shared_ptr to their container keep it alive for ever: they should
/// hold a weak one.
class ZUNOHELPER_API service_container {
  public:
    service_container();
    service_container(const service_container&) = delete;
    service_container& operator=(const service_container&) = delete;
    ~service_container();

    /// Adds a factory under its type.
    /// @tparam F a factory<...>; given explicitly when a lambda is passed.
    /// @throws utils::exceptions::already_contains_factory naming the type F.
    /// @throws std::invalid_argument for an empty callable.
    template <typename F>
    void register_factory(F callable) {
        if (!callable) {
            throw std::invalid_argument{"service_container: a factory must not be empty"};
        }
        const std::lock_guard lock{mutex_};
        factories_.add<F>(std::move(callable));
    }

    /// Adds the instance of T, which the container owns together with everybody who gets it.
    /// @throws utils::exceptions::already_contains_instance naming the type T.
    /// @throws std::invalid_argument for null.
    template <typename T>
    void register_instance(std::shared_ptr<T> instance) {
        if (!instance) {
            throw std::invalid_argument{"service_container: an instance must not be null"};
        }
        const std::lock_guard lock{mutex_};
        instances_.add<T>(std::move(instance));
    }

    /// The instance of T; the first call has it made by factory<T>.
    /// @return never null, unless the factory returned null; that is not stored.
    /// @throws utils::exceptions::factory_not_available naming the type factory<T>; and what the
    /// factory throws, after which nothing is stored.
    template <typename T>
    [[nodiscard]] std::shared_ptr<T> get() {
        const std::lock_guard lock{mutex_};
        if (auto instance = instances_.find<T>()) {
            return instance;
        }
        std::shared_ptr<T> made = factories_.get<factory<T>>()();
        if (made) {
            instances_.add<T>(made);
        }
        return made;
    }

    /// The instance of T if there is one, else null; nothing is created.
    template <typename T>
    [[nodiscard]] std::shared_ptr<T> find() const {
        const std::lock_guard lock{mutex_};
        return instances_.find<T>();
    }

    /// A new object for the caller alone, made by factory<T, Args...>.
    /// @tparam Args the argument types exactly as in the factory's type, so usually given
    /// explicitly: create<node, const std::string&>(text). The mutex is not held while the factory
    /// works.
    /// @throws utils::exceptions::factory_not_available naming the factory's type; and what the
    /// factory throws.
    template <typename T, typename... Args>
    [[nodiscard]] std::unique_ptr<T> create(Args... arguments) const {
        using factory_type = factory<T, Args...>;
        const auto& make = [this]() -> const factory_type& {
            const std::lock_guard lock{mutex_};
            return factories_.get<factory_type>();
        }();
        return make(std::forward<Args>(arguments)...);
    }

    /// The living instance of T for an equal key, else a new one made by factory<T, Key> from a
    /// copy of the key. The container does not keep it alive: it dies with its last owner, and the
    /// next call makes a new one.
    /// @throws utils::exceptions::factory_not_available; and what the factory throws, after which
    /// nothing is stored.
    /// @throws utils::exceptions::already_contains_instance naming both types when the factory
    /// itself had the container make an instance for this key.
    template <
        typename T,
        typename Key,
        typename Hash = std::hash<Key>,
        typename Equal = std::equal_to<>>
    [[nodiscard]] std::shared_ptr<T> get_or_create(const Key& key) {
        const std::lock_guard lock{mutex_};
        if (const auto* const map = instances_.find_map<T, Key, Hash, Equal>()) {
            if (auto instance = map->find(key)) {
                return instance;
            }
        }
        std::shared_ptr<T> made = factories_.get<factory<T, Key>>()(key);
        if (made && !instances_.map<T, Key, Hash, Equal>().store(key, made)) {
            throw utils::exceptions::already_contains_instance{names_of<T, Key>()};
        }
        return made;
    }

    /// The living instance of T for an equal key.
    /// @throws utils::exceptions::instance_not_available naming both types when there is none; the
    /// key is not named, since it may hold secrets.
    template <
        typename T,
        typename Key,
        typename Hash = std::hash<Key>,
        typename Equal = std::equal_to<>>
    [[nodiscard]] std::shared_ptr<T> get_existing(const Key& key) const {
        const std::lock_guard lock{mutex_};
        if (const auto* const map = instances_.find_map<T, Key, Hash, Equal>()) {
            if (auto instance = map->find(key)) {
                return instance;
            }
        }
        throw utils::exceptions::instance_not_available{names_of<T, Key>()};
    }

    /// How many keys are remembered for instances of T, those of dead instances included.
    template <
        typename T,
        typename Key,
        typename Hash = std::hash<Key>,
        typename Equal = std::equal_to<>>
    [[nodiscard]] std::size_t remembered_keys() const {
        const std::lock_guard lock{mutex_};
        const auto* const map = instances_.find_map<T, Key, Hash, Equal>();
        return map ? map->size() : 0;
    }

  private:
    template <typename T, typename Key>
    [[nodiscard]] static std::string names_of() {
        return std::string{typeid(T).name()} + ", " + typeid(Key).name();
    }

    mutable std::recursive_mutex mutex_;
    factory_store factories_;  // guarded by mutex_
    instance_store instances_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::libzunohelper
