#pragma once
// The sensors of a configuration, of all its files.

#include "exporter/module_reader.hpp"
#include "exporter/scan_module.hpp"

#include <map>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class sensor_reader final {
  public:
    /// @param modules of all files; must outlive this object
    explicit sensor_reader(const module_reader& modules) : modules_{modules} {}

    /// Reads the member "sensors" of a file. Whatever is wrong is told.
    void read(const config_file& file, const config_defaults& defaults);

    [[nodiscard]] std::vector<sensor_plan> take() { return std::move(plans_); }

  private:
    void read_sensor(const yaml_value& node, const config_defaults& defaults);
    [[nodiscard]] const scan_module* find_module(const yaml_value& name) const;
    void require_new_name(const yaml_value& place, const std::string& name);

    const module_reader& modules_;
    std::vector<sensor_plan> plans_;
    std::map<std::string, config_place> names_;
};

} // namespace tarvik::monitoring_modules::probe
