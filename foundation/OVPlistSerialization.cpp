// The public face of property-list reading and writing.
//
// Writing is our own (OVPlistXmlWriter, OVPlistBinaryWriter): libplist 2.2 keeps dictionary keys
// in insertion order, looks each key up by a linear scan when a dictionary is built (quadratic
// for a library of 100,000 items), and cannot make a 16-byte unsigned integer or a date outside
// 32-bit seconds. Reading goes through libplist (OVPlistTreeReader), after a linear check of the
// nesting depth (OVPlistStructureCheck): libplist parses recursively and would run out of stack
// on hostile input.
#include "foundation/OVPlistSerialization.h"

#include "foundation/OVLocalization.h"
#include "foundation/OVPlistBinaryWriter.h"
#include "foundation/OVPlistInternal.h"
#include "foundation/OVPlistStructureCheck.h"
#include "foundation/OVPlistTreeReader.h"
#include "foundation/OVPlistXmlWriter.h"

#include <QFile>
#include <QIODevice>
#include <QSaveFile>
#include <limits>

using OVPlistInternal::fail;

namespace {

OVText readError(const char *text)
{
    return OVLocalizedText(text);
}

} // namespace

QString OVPlistSerialization::errorDomain()
{
    return QStringLiteral("OVPlistErrorDomain");
}

OVPlist OVPlistSerialization::propertyListWithData(const QByteArray &data, Format *format, OVError *error)
{
    if (quint64(data.size()) > std::numeric_limits<uint32_t>::max()) {
        fail(error, ReadTooLargeError,
             QT_TRANSLATE_NOOP("KastrelImporter", "The property list is too large to be read."));
        return OVPlist();
    }
    const bool binary = data.startsWith("bplist00");
    if (binary) {
        switch (OVPlistInternal::checkBinaryStructure(data, maximumDepth)) {
        case OVPlistInternal::StructureCheck::Ok:
            break;
        case OVPlistInternal::StructureCheck::Corrupt:
            fail(error, ReadCorruptError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a valid property list."));
            return OVPlist();
        case OVPlistInternal::StructureCheck::TooDeep:
            fail(error, ReadTooDeepError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The property list is nested too deeply or contains itself."));
            return OVPlist();
        }
    } else if (data.startsWith("bplist")) {
        fail(error, ReadCorruptError,
             QT_TRANSLATE_NOOP("KastrelImporter", "The property list uses an unsupported binary version."));
        return OVPlist();
    } else if (!OVPlistInternal::xmlDepthWithinLimit(data, maximumDepth + 1)) {
        fail(error, ReadTooDeepError,
             QT_TRANSLATE_NOOP("KastrelImporter", "The property list is nested too deeply or contains itself."));
        return OVPlist();
    }

    OVPlist result = OVPlistInternal::parseWithLibplist(data, binary);
    if (!result.isValid()) {
        fail(error, ReadCorruptError, QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a valid property list."));
        return OVPlist();
    }
    if (format)
        *format = binary ? Format::Binary : Format::Xml;
    return result;
}

OVPlist OVPlistSerialization::propertyListWithDevice(QIODevice *device, Format *format, OVError *error)
{
    if (!device || !device->isReadable()) {
        fail(error, FileReadError, QT_TRANSLATE_NOOP("KastrelImporter", "The property list could not be read."));
        return OVPlist();
    }
    const qint64 limit = qint64(std::numeric_limits<uint32_t>::max());
    if (!device->isSequential()) {
        if (device->size() - device->pos() > limit) {
            fail(error, ReadTooLargeError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The property list is too large to be read."));
            return OVPlist();
        }
        return propertyListWithData(device->readAll(), format, error);
    }
    // A stream of unknown length: what it holds now (as readAll() would take), in pieces and
    // never past what could be parsed.
    QByteArray data;
    for (;;) {
        const QByteArray piece = device->read(1 << 20);
        if (piece.isEmpty())
            break;
        data.append(piece);
        if (data.size() > limit) {
            fail(error, ReadTooLargeError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The property list is too large to be read."));
            return OVPlist();
        }
    }
    return propertyListWithData(data, format, error);
}

OVPlist OVPlistSerialization::propertyListWithContentsOfFile(const QString &path, Format *format, OVError *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        OVSetError(error, errorDomain(), FileReadError,
                   readError(QT_TRANSLATE_NOOP("KastrelImporter", "The property list could not be read."))
                       + OVText::untranslated(QLatin1Char(' ') + file.errorString()));
        return OVPlist();
    }
    return propertyListWithDevice(&file, format, error);
}

QByteArray OVPlistSerialization::dataWithPropertyList(const OVPlist &plist, Format format, OVError *error)
{
    QByteArray out;
    const bool written = format == Format::Xml ? OVPlistInternal::writeXml(plist, out, error)
                                               : OVPlistInternal::writeBinary(plist, out, error);
    return written ? out : QByteArray();
}

bool OVPlistSerialization::writePropertyList(const OVPlist &plist, QIODevice *device, Format format, OVError *error)
{
    if (format == Format::Xml && device && device->isWritable()) {
        QByteArray rest;
        bool sinkFailed = false;
        if (!OVPlistInternal::writeXml(plist, rest, error, device, &sinkFailed))
            return false;
        if (sinkFailed || device->write(rest) != rest.size())
            return fail(error, FileWriteError,
                        QT_TRANSLATE_NOOP("KastrelImporter", "The property list could not be written."));
        return true;
    }
    const QByteArray bytes = dataWithPropertyList(plist, format, error);
    if (bytes.isEmpty())
        return false;
    if (!device || !device->isWritable() || device->write(bytes) != bytes.size())
        return fail(error, FileWriteError,
                    QT_TRANSLATE_NOOP("KastrelImporter", "The property list could not be written."));
    return true;
}

bool OVPlistSerialization::writePropertyListToFile(const OVPlist &plist, const QString &path, Format format,
                                                   OVError *error)
{
    const QByteArray bytes = dataWithPropertyList(plist, format, error);
    if (bytes.isEmpty())
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        OVSetError(error, errorDomain(), FileWriteError,
                   readError(QT_TRANSLATE_NOOP("KastrelImporter", "The property list could not be written."))
                       + OVText::untranslated(QLatin1Char(' ') + file.errorString()));
        return false;
    }
    return true;
}
