// settings_page: makes docs/settings.md from the files in module/information and the tables of the
// sensors.

#include "module/information/generator/program.hpp"
#include "module/information/generator/settings_page.hpp"

int main(int count, char** arguments) {
    using namespace tarvik::monitoring_modules::information;
    return run_generator(
        {arguments, static_cast<std::size_t>(count)},
        [](std::ostream& out, const sources& from) {
            write_settings_page(out, from.document, from.texts);
        }
    );
}
