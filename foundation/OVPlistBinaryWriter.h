// The binary property-list writer ("bplist00"), with strings shared as macOS shares them.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QByteArray>

namespace OVPlistInternal {

// Appends the whole file to `out`.
[[nodiscard]] bool writeBinary(const OVPlist &root, QByteArray &out, OVError *error);

} // namespace OVPlistInternal
