#include "tests/soak/host_library.hpp"

#include <dlfcn.h>

#include <stdexcept>

namespace tarvik::soak {

namespace {

template <typename Function>
void find(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(dlsym(library, name));
    if (function == nullptr) {
        throw std::runtime_error{std::string{"there is no "} + name};
    }
}

[[nodiscard]] void* open(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw std::runtime_error{"cannot load " + path};
    }
    return library;
}

} // namespace

host_library::host_library(const std::string& folder) {
    void* const module = open(folder + "/libOPCUA.so");
    find(module, "InitializeModule", initialize);
    find(module, "CleanupModule", clean_up);
    find(module, "CreateSensorInstance", create);
    find(module, "ExecuteSensorScan", scan);
    find(module, "DestroySensorInstance", destroy);
    find(module, "ExecuteCheck", check);
    find(module, "ExecuteMetaScan", meta_scan);
    void* const framework = open(folder + "/libZunoHelper.so");
    find(framework, "ZunoSetLogSink", set_log_sink);
    find(framework, "ZunoSetServerTrust", set_server_trust);
}

} // namespace tarvik::soak
