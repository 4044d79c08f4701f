// What the command line's exit status tells the caller; the usage text and the manual page
// describe the same numbers.
#pragma once

namespace KSExitStatus {

// Every item arrived in Nortavel 3.
inline constexpr int Ended = 0;
// An error was reported; nothing was handed to Nortavel 3.
inline constexpr int Failed = 1;
inline constexpr int Cancelled = 2;
// The export ended, but items that should have arrived did not, or arrived as a note holding
// their original file.
inline constexpr int ItemsMissing = 3;
// Wrong arguments (the usual value for a usage error).
inline constexpr int UsageError = 64;

} // namespace KSExitStatus
