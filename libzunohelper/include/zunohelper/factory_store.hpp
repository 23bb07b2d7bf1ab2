#pragma once

// The factories of a service container: one callable for each callable type.

#include "zunohelper/export.hpp"

#include <functional>
#include <map>
#include <memory>
#include <typeindex>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

/// Builds an object behind Interface. The whole type, arguments included, is the key under which a
/// factory is registered and found: factory<x, std::string> and factory<x, const std::string&> are
/// two services.
template <typename Interface, typename... Args>
using factory = std::function<std::unique_ptr<Interface>(Args...)>;

/// One factory, its type forgotten.
class ZUNOHELPER_API factory_wrapper_base {
  public:
    factory_wrapper_base() = default;
    factory_wrapper_base(const factory_wrapper_base&) = delete;
    factory_wrapper_base& operator=(const factory_wrapper_base&) = delete;
    virtual ~factory_wrapper_base();
};

template <typename F>
class factory_wrapper final : public factory_wrapper_base {
  public:
    explicit factory_wrapper(F callable) : callable_{std::move(callable)} {}

    [[nodiscard]] const F& callable() const noexcept { return callable_; }

  private:
    F callable_;
};

/// Not thread-safe: service_container guards it. Types are compared by their names, so that two
/// libraries mean the same entry by the same type.
class ZUNOHELPER_API factory_store {
  public:
    factory_store();
    factory_store(const factory_store&) = delete;
    factory_store& operator=(const factory_store&) = delete;
    ~factory_store();

    /// @throws utils::exceptions::already_contains_factory naming the type F.
    template <typename F>
    void add(F callable) {
        insert(typeid(F), std::make_unique<factory_wrapper<F>>(std::move(callable)));
    }

    /// @return the factory; valid as long as the store, since factories are never taken out.
    /// @throws utils::exceptions::factory_not_available naming the type F.
    template <typename F>
    [[nodiscard]] const F& get() const {
        return static_cast<const factory_wrapper<F>&>(at(typeid(F))).callable();
    }

  private:
    void insert(std::type_index type, std::unique_ptr<factory_wrapper_base> wrapper);
    [[nodiscard]] const factory_wrapper_base& at(std::type_index type) const;

    std::map<std::type_index, std::unique_ptr<factory_wrapper_base>> factories_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
