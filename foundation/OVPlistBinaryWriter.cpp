// The binary property-list writer.
#include "foundation/OVPlistBinaryWriter.h"

#include "foundation/OVPlistInternal.h"

#include <QDateTime>
#include <QHash>
#include <cstring>
#include <vector>

namespace OVPlistInternal {

namespace {

class BinaryWriter
{
public:
    bool write(const OVPlist &root, QByteArray &out, OVError *error)
    {
        if (!flatten(root))
            return fail(
                error, OVPlistSerialization::WriteInvalidError,
                QT_TRANSLATE_NOOP("KastrelImporter", "The property list holds a value that cannot be written."));
        const quint64 count = m_objects.size();
        m_refSize = bytesFor(count);
        out.append("bplist00");
        std::vector<quint64> offsets;
        offsets.reserve(count);
        for (const Object &object : m_objects) {
            offsets.push_back(quint64(out.size()));
            writeObject(object, out);
        }
        const quint64 tableOffset = quint64(out.size());
        const int offsetSize = bytesFor(tableOffset);
        for (const quint64 offset : offsets)
            appendBigEndian(out, offset, offsetSize);
        out.append(QByteArray(6, '\0'));
        out.append(char(offsetSize));
        out.append(char(m_refSize));
        appendBigEndian(out, count, 8);
        appendBigEndian(out, 0, 8);
        appendBigEndian(out, tableOffset, 8);
        return true;
    }

private:
    struct Object
    {
        OVPlist value; // scalars; containers keep their kind only
        QString key; // dictionary keys and strings
        bool isString = false;
        std::vector<quint64> refs;
    };

    static int bytesFor(quint64 value)
    {
        if (value <= 0xFF)
            return 1;
        if (value <= 0xFFFF)
            return 2;
        if (value <= 0xFFFFFFFFu)
            return 4;
        return 8;
    }

    static void appendBigEndian(QByteArray &out, quint64 value, int size)
    {
        for (int shift = (size - 1) * 8; shift >= 0; shift -= 8)
            out.append(char((value >> shift) & 0xFF));
    }

    // Strings (keys included) are written once and shared, as macOS does.
    quint64 stringObject(const QString &text)
    {
        const auto found = m_strings.constFind(text);
        if (found != m_strings.cend())
            return found.value();
        Object object;
        object.key = text;
        object.isString = true;
        m_objects.push_back(std::move(object));
        const quint64 index = m_objects.size() - 1;
        m_strings.insert(text, index);
        return index;
    }

    // Appends the object and its members; containers precede their members.
    bool flatten(const OVPlist &node, quint64 *index = nullptr, int depth = 0)
    {
        if (depth > OVPlistSerialization::maximumDepth)
            return false; // what could not be read back is not written
        quint64 self = 0;
        switch (node.type()) {
        case OVPlist::Type::Invalid:
            return false;
        case OVPlist::Type::String:
            self = stringObject(node.toString());
            break;
        case OVPlist::Type::Array: {
            self = m_objects.size();
            m_objects.push_back(Object {OVPlist::array(), QString(), false, {}});
            const OVPlist::Array members = node.toArray();
            std::vector<quint64> refs;
            refs.reserve(members.size());
            for (const OVPlist &member : members) {
                quint64 child = 0;
                if (!flatten(member, &child, depth + 1))
                    return false;
                refs.push_back(child);
            }
            m_objects[self].refs = std::move(refs);
            break;
        }
        case OVPlist::Type::Dictionary: {
            self = m_objects.size();
            m_objects.push_back(Object {OVPlist::dictionary(), QString(), false, {}});
            const OVPlist::Dictionary entries = node.toDictionary();
            std::vector<quint64> refs(entries.size() * 2);
            const size_t count = entries.size();
            size_t i = 0;
            for (auto it = entries.cbegin(); it != entries.cend(); ++it, ++i) {
                refs[i] = stringObject(it.key());
                if (!flatten(it.value(), &refs[count + i], depth + 1))
                    return false;
            }
            m_objects[self].refs = std::move(refs);
            break;
        }
        default:
            self = m_objects.size();
            m_objects.push_back(Object {node, QString(), false, {}});
            break;
        }
        if (index)
            *index = self;
        return true;
    }

    static void marker(QByteArray &out, uchar kind, quint64 count)
    {
        if (count < 15) {
            out.append(char((kind << 4) | count));
            return;
        }
        out.append(char((kind << 4) | 0x0F));
        const int size = bytesFor(count);
        out.append(char(0x10 | (size == 1 ? 0 : size == 2 ? 1 : size == 4 ? 2 : 3)));
        appendBigEndian(out, count, size);
    }

    static void appendDouble(QByteArray &out, double value)
    {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        appendBigEndian(out, bits, 8);
    }

    void writeObject(const Object &object, QByteArray &out) const
    {
        if (object.isString) {
            bool ascii = true;
            for (const QChar c : object.key) {
                if (c.unicode() > 0x7F) {
                    ascii = false;
                    break;
                }
            }
            if (ascii) {
                marker(out, 0x5, quint64(object.key.size()));
                out.append(object.key.toLatin1());
            } else {
                marker(out, 0x6, quint64(object.key.size()));
                for (const QChar c : object.key)
                    appendBigEndian(out, c.unicode(), 2);
            }
            return;
        }
        const OVPlist &value = object.value;
        switch (value.type()) {
        case OVPlist::Type::Boolean:
            out.append(char(value.toBool() ? 0x09 : 0x08));
            return;
        case OVPlist::Type::Integer: {
            if (value.isUnsignedInteger()) {
                out.append(char(0x14));
                appendBigEndian(out, 0, 8);
                appendBigEndian(out, value.toUnsignedInteger(), 8);
                return;
            }
            const qint64 number = value.toInteger();
            // One, two and four bytes read back as unsigned; negatives take eight.
            const int size = number < 0 ? 8 : bytesFor(quint64(number));
            out.append(char(0x10 | (size == 1 ? 0 : size == 2 ? 1 : size == 4 ? 2 : 3)));
            appendBigEndian(out, quint64(number), size);
            return;
        }
        case OVPlist::Type::Real:
            out.append(char(0x23));
            appendDouble(out, value.toReal());
            return;
        case OVPlist::Type::Date:
            out.append(char(0x33));
            appendDouble(out, double(value.toDate().toMSecsSinceEpoch()) / 1000.0 - double(referenceDateOffsetSeconds));
            return;
        case OVPlist::Type::Data: {
            const QByteArray bytes = value.toData();
            marker(out, 0x4, quint64(bytes.size()));
            out.append(bytes);
            return;
        }
        case OVPlist::Type::Uid: {
            const int size = bytesFor(value.toUid());
            out.append(char(0x80 | (size - 1)));
            appendBigEndian(out, value.toUid(), size);
            return;
        }
        case OVPlist::Type::Array:
            marker(out, 0xA, object.refs.size());
            for (const quint64 ref : object.refs)
                appendBigEndian(out, ref, m_refSize);
            return;
        case OVPlist::Type::Dictionary:
            marker(out, 0xD, object.refs.size() / 2);
            for (const quint64 ref : object.refs)
                appendBigEndian(out, ref, m_refSize);
            return;
        default:
            return;
        }
    }

    std::vector<Object> m_objects;
    QHash<QString, quint64> m_strings;
    int m_refSize = 1;
};

} // namespace

bool writeBinary(const OVPlist &root, QByteArray &out, OVError *error)
{
    return BinaryWriter().write(root, out, error);
}

} // namespace OVPlistInternal
