// A note for an item whose exported file could not be read as rich text: a short text naming
// the item, with the exported file (or every file of an exported folder) attached unchanged, so
// that nothing the person had is lost on the way.
#pragma once

#include "foundation/OVError.h"

#include <QString>

class NVOriginalFileNote
{
public:
    // Writes the note package at `notePath` (replacing whatever is there). A folder contributes
    // its regular files, sub-folders included and symbolic links left alone, each named by its
    // path inside the folder. Fails only when the original cannot be read at all or the
    // package cannot be written; nothing is then written.
    [[nodiscard]] static bool write(const QString &itemName, const QString &originalPath, const QString &notePath,
                                    OVError *error = nullptr);
};
