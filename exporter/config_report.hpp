#pragma once
// What is wrong in a configuration, all of it at once, in the order of the files and their lines.

#include <compare>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct config_place {
    std::size_t file = 0; ///< its number in the report
    int line = 0;         ///< 0: the file as a whole
    int column = 0;
    auto operator<=>(const config_place&) const = default;
};

struct config_remark {
    config_place place;
    std::string member; ///< "sensors[2].interval"; empty for a whole file
    std::string problem;
};

/// Takes any number of remarks and keeps the first ones. One that several members share, because
/// they are written once and named again, counts once.
class config_report final {
  public:
    static constexpr std::size_t most_shown = 50; // mistakes, and as many warnings

    /// @param name as remarks show it
    /// @return the file's number; files count in this order
    [[nodiscard]] std::size_t add_file(std::string name);

    /// What makes the configuration unusable.
    void mistake(config_remark found) { mistakes_.add(std::move(found)); }
    /// What a person should look at.
    void warning(config_remark found) { warnings_.add(std::move(found)); }

    /// @return how many mistakes were told so far; to be compared with a number of before
    [[nodiscard]] std::size_t mistakes_so_far() const noexcept { return mistakes_.found; }

    /// @return "probe.yaml:4: sensors[0].module: there is no such module", safe for a terminal, and
    /// in the end how many more there are
    [[nodiscard]] std::vector<std::string> mistakes() const { return lines(mistakes_, ""); }
    /// @return "probe.yaml:7: warning: modules.a.trust: ..."
    [[nodiscard]] std::vector<std::string> warnings() const {
        return lines(warnings_, "warning: ");
    }

    /// @return "conf.d/north.yaml:12"
    [[nodiscard]] std::string text_of(const config_place& place) const;

  private:
    struct by_place {
        bool operator()(const config_remark& left, const config_remark& right) const;
    };
    struct first_remarks {
        void add(config_remark&& found);
        std::set<config_remark, by_place> kept;
        std::size_t found = 0;
        std::size_t left_out = 0;
    };

    [[nodiscard]] std::vector<std::string>
    lines(const first_remarks& remarks, const char* mark) const;

    std::vector<std::string> files_;
    first_remarks mistakes_;
    first_remarks warnings_;
};

} // namespace tarvik::monitoring_modules::probe
