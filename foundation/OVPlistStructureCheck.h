// Checks of a property list's nesting made before it is parsed: libplist parses recursively and
// would run out of stack on hostile input. Both checks are linear and never recurse.
#pragma once

#include <QByteArray>

namespace OVPlistInternal {

enum class StructureCheck { Ok, Corrupt, TooDeep };

// Element nesting of an XML document within `limit`.
bool xmlDepthWithinLimit(const QByteArray &data, int limit);

// The structure of a "bplist00" file: trailer, offset table and container references, checked
// for bounds, cycles and nesting depth. Scalars are left to libplist.
StructureCheck checkBinaryStructure(const QByteArray &data, int limit);

} // namespace OVPlistInternal
