// information_generator: run by the build, it makes the source file with the module information
// document from the files in module/information.

#include "module/information/generator/literal_writer.hpp"
#include "module/information/generator/program.hpp"

#include <string>

namespace {

using namespace tarvik::monitoring_modules::information;

void write_source(std::ostream& out, const sources& from) {
    std::string head = from.document.dump();
    head.pop_back(); // the brace
    out << "// Made by the build from module/information.\n"
           "#include \"module/information/document_pieces.hpp\"\n"
           "namespace tarvik::monitoring_modules::information {\n";
    write_literals(out, "document_head", head);
    write_literals(out, "document_texts", build_texts(from.texts).dump());
    out << "} // namespace tarvik::monitoring_modules::information\n";
}

} // namespace

int main(int count, char** arguments) {
    return run_generator({arguments, static_cast<std::size_t>(count)}, write_source);
}
