#pragma once

// The texts of errors, as users read them.

#include <exception>
#include <string>

namespace tarvik::monitoring_modules::tests {

/// The text of the exception in which the work ends; "no error" when it does not.
template <typename Work>
std::string error_of(const Work& work) {
    try {
        work();
        return "no error";
    } catch (const std::exception& error) {
        return error.what();
    }
}

/// What users read when the sensor could not, say, "connect to" the server.
inline std::string could_not(const std::string& action, const std::string& status) {
    return "The sensor could not " + action + " the OPC UA server (" + status + ").";
}

} // namespace tarvik::monitoring_modules::tests
