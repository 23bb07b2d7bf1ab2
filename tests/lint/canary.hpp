#pragma once

// The header half of the planted faults: found only when the header filter lets our headers
// through. Lint alone.

namespace tarvik::monitoring_modules::lint_canary {

// planted: google-explicit-constructor
class careless_owner {
  public:
    careless_owner(int number) : number_{number} {}
    ~careless_owner();

    // planted: modernize-use-nodiscard
    int number() const { return number_; }

  private:
    int number_;
};

// planted: readability-identifier-naming
struct MisspeltName {
    int number{0};
};

} // namespace tarvik::monitoring_modules::lint_canary
