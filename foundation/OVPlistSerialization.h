// Reading and writing property lists. Reads XML and binary property lists (anything libplist
// takes); writes XML in the layout macOS writes (sorted keys, tabs, %.17g reals) and binary
// "bplist00". Failures come back as an invalid value or false, with an OVError.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QByteArray>
#include <QString>

class QIODevice;

class OVPlistSerialization
{
public:
    enum class Format { Xml, Binary };

    enum ErrorCode {
        ReadCorruptError = 3840, // not a property list, truncated, or broken
        ReadTooDeepError = 3841, // containers nested deeper than maximumDepth, or a cycle
        ReadTooLargeError = 3842, // more than a 32-bit length of input
        WriteInvalidError = 3851, // the tree holds an invalid value
        FileReadError = 260,
        FileWriteError = 640,
    };

    // Containers may nest this deep; deeper input is refused before it is parsed.
    static constexpr int maximumDepth = 512;

    static QString errorDomain();

    [[nodiscard]] static OVPlist propertyListWithData(const QByteArray &data, Format *format = nullptr,
                                                      OVError *error = nullptr);
    [[nodiscard]] static OVPlist propertyListWithDevice(QIODevice *device, Format *format = nullptr,
                                                        OVError *error = nullptr);
    [[nodiscard]] static OVPlist propertyListWithContentsOfFile(const QString &path, Format *format = nullptr,
                                                                OVError *error = nullptr);

    // An empty array on failure (a property list is never empty).
    [[nodiscard]] static QByteArray dataWithPropertyList(const OVPlist &plist, Format format, OVError *error = nullptr);
    [[nodiscard]] static bool writePropertyList(const OVPlist &plist, QIODevice *device, Format format,
                                                OVError *error = nullptr);
    // Replaces the file atomically: a reader sees the old or the new file, never half of one.
    [[nodiscard]] static bool writePropertyListToFile(const OVPlist &plist, const QString &path, Format format,
                                                      OVError *error = nullptr);
};
