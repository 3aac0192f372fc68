#pragma once

#include <cstdio>
#include <span>

// What the tool asks of the system about its standard streams.
namespace vl2 {

// To be called once at the start: writing to a closed pipe becomes an error of the write, no line
// end is converted, and standard output has no buffer of its own.
void prepareStreams();
bool isTerminal(std::FILE *stream);

// The signals that ask the process to end.
std::span<const int> interruptSignals();
// They set a flag instead of ending the process, so that nothing temporary is left.
void catchInterrupt();
bool interrupted();

} // namespace vl2
