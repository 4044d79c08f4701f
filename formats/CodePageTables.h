// Tables of the eight-bit code pages that have no converter in Qt.
#pragma once

namespace CodePageTables {

// The 128 characters of bytes 0x80 to 0xFF in the code page (bytes below are ASCII), or null
// when there is no table for it here. Unassigned bytes are U+FFFD.
const char16_t *upperHalf(int codePage);

} // namespace CodePageTables
