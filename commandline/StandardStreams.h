#pragma once

namespace Ostrel::CommandLine {

/// Puts something in the place of a standard stream that is closed, before another file takes it
/// and gets what is written there.
///
/// @param writable  writing to the stream then goes nowhere; otherwise it fails
void fillStandardStreams(bool writable);

} // namespace Ostrel::CommandLine
