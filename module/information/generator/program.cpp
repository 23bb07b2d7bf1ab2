#include "module/information/generator/program.hpp"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::information {

namespace {

sources read_sources(const std::filesystem::path& folder) {
    std::ifstream file{folder / "structure.json"};
    if (!file) {
        throw std::runtime_error{"structure.json cannot be read"};
    }
    text_table texts{folder / "texts"};
    auto document = build_document(nlohmann::ordered_json::parse(file), texts);
    return {std::move(texts), std::move(document)};
}

} // namespace

int run_generator(
    std::span<char* const> arguments,
    const std::function<void(std::ostream&, const sources&)>& write
) noexcept {
    try {
        if (arguments.size() != 3) {
            std::cerr << "usage: " << arguments[0] << " FOLDER OUTPUT\n";
            return 2;
        }
        const sources from = read_sources(arguments[1]);
        std::ofstream out{arguments[2]};
        write(out, from);
        out.close();
        if (!out) {
            throw std::runtime_error{std::string{arguments[2]} + " cannot be written"};
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "The module information cannot be made: " << error.what() << '\n';
        return 1;
    }
}

} // namespace tarvik::monitoring_modules::information
