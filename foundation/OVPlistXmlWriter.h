// The XML property-list writer: the layout macOS writes (sorted keys, tabs, %.17g reals).
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QByteArray>

class QIODevice;

namespace OVPlistInternal {

// Appends the document to `out`. With a `sink`, text made so far goes to it whenever a piece is
// large and only the rest stays in `out` for the caller to write; *sinkFailed tells whether the
// sink took everything.
[[nodiscard]] bool writeXml(const OVPlist &root, QByteArray &out, OVError *error, QIODevice *sink = nullptr,
                            bool *sinkFailed = nullptr);

} // namespace OVPlistInternal
