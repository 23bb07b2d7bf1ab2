#pragma once
// Whether a text looks like a NodeID. Only the module decides; this finds what was mistyped before
// a server is asked.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @param text as a channel has it: "ns=2;s=Boiler.Temperature", "i=2258", or with the number of an
/// array's element "'ns=2;s=Zones'[0]"
/// @return what is wrong with it and how it should be; empty: nothing that can be seen
[[nodiscard]] std::string doubt_about_node_id(std::string_view text);

} // namespace tarvik::monitoring_modules::probe
