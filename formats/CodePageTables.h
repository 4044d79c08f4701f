// Tables of the eight-bit code pages that have no converter in Qt.
#pragma once

namespace CodePageTables {

// The 128 characters of bytes 0x80 to 0xFF in the code page (bytes below are ASCII), or null
// when there is no table for it here. Unassigned bytes are U+FFFD; a zero entry stands for a
// byte that is more than one character, given by sequenceFor().
const char16_t *upperHalf(int codePage);

// The characters, null-terminated, of a byte that stands for more than one, or null.
const char16_t *sequenceFor(int codePage, unsigned char byte);

} // namespace CodePageTables
