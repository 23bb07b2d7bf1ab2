#pragma once

// Question: what does it cost to get from a client object to an activated session, compared with a
// bare client that is configured alike? Closing is not part of the question.

namespace tarvik::bench {

/// Sets how often these benchmarks are repeated: a connection takes so long that it cannot be as
/// often as the others.
void repeat_connect_benchmarks(int repetitions);

} // namespace tarvik::bench
