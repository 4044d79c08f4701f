// Parsing through libplist's C API and turning its tree into an OVPlist.
#pragma once

#include "foundation/OVPlist.h"

#include <QByteArray>

namespace OVPlistInternal {

// The property list in `data` (binary when `binary`, else XML), or an invalid value when libplist
// cannot parse it. The caller has checked the nesting first.
OVPlist parseWithLibplist(const QByteArray &data, bool binary);

} // namespace OVPlistInternal
