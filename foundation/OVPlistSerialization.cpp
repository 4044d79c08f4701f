// Property-list reading over libplist's C API, and the XML and binary writers.
//
// Writing is our own: libplist 2.2 keeps dictionary keys in insertion order, looks each key up
// by a linear scan when a dictionary is built (quadratic for a library of 100,000 items), and
// cannot make a 16-byte unsigned integer or a date outside 32-bit seconds. Reading goes through
// libplist, after a linear check of the nesting depth: libplist parses recursively and would
// run out of stack on hostile input.
#include "foundation/OVPlistSerialization.h"

#include "foundation/OVLocalization.h"
#include "foundation/OVXmlCharacters.h"

#include <QFile>
#include <QHash>
#include <QIODevice>
#include <QSaveFile>
#include <QTimeZone>
#include <QVarLengthArray>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <locale.h>
#include <memory>
#include <plist/plist.h>
#include <vector>

namespace {

// The one owner of a libplist tree.
struct PlistFree
{
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistHandle = std::unique_ptr<void, PlistFree>;

// Seconds between the Unix epoch and the property-list epoch 2001-01-01T00:00:00Z.
constexpr qint64 referenceDateOffsetSeconds = 978307200;

OVText readError(const char *text)
{
    return OVLocalizedText(text);
}

bool fail(OVError *error, int code, const char *text)
{
    OVSetError(error, OVPlistSerialization::errorDomain(), code, OVLocalizedText(text));
    return false;
}

// libplist reads reals with strtod/atof, which follow LC_NUMERIC; a German locale would read
// "2.5" as 2. Switch this thread to the C locale for the length of a parse.
class CNumericLocale
{
public:
    CNumericLocale()
        : m_locale(newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr)))
    {
        if (m_locale)
            m_previous = uselocale(m_locale);
    }
    ~CNumericLocale()
    {
        if (m_locale) {
            uselocale(m_previous);
            freelocale(m_locale);
        }
    }
    CNumericLocale(const CNumericLocale &) = delete;
    CNumericLocale &operator=(const CNumericLocale &) = delete;

private:
    locale_t m_locale = static_cast<locale_t>(nullptr);
    locale_t m_previous = static_cast<locale_t>(nullptr);
};

// ---- depth checks -------------------------------------------------------------------------

// Element nesting of an XML document, in one pass. Comments, CDATA, declarations and
// processing instructions are skipped; a start tag ending in "/>" opens nothing.
bool xmlDepthWithinLimit(const QByteArray &data, int limit)
{
    const char *p = data.constData();
    const char *end = p + data.size();
    int depth = 0;
    auto skipPast = [&](const char *terminator) {
        const size_t length = std::strlen(terminator);
        while (p < end && !(size_t(end - p) >= length && std::memcmp(p, terminator, length) == 0))
            ++p;
        p = (p < end) ? p + length : end;
    };
    while (p < end) {
        if (*p != '<') {
            ++p;
            continue;
        }
        if (end - p >= 4 && std::memcmp(p, "<!--", 4) == 0) {
            skipPast("-->");
        } else if (end - p >= 9 && std::memcmp(p, "<![CDATA[", 9) == 0) {
            skipPast("]]>");
        } else if (end - p >= 2 && (p[1] == '!' || p[1] == '?')) {
            skipPast(">");
        } else if (end - p >= 2 && p[1] == '/') {
            --depth;
            skipPast(">");
        } else {
            const char *tagEnd = static_cast<const char *>(std::memchr(p, '>', size_t(end - p)));
            if (!tagEnd)
                break;
            if (tagEnd[-1] != '/' && ++depth > limit)
                return false;
            p = tagEnd + 1;
        }
    }
    return true;
}

// The structure of a "bplist00" file: trailer, offset table and container references, checked
// for bounds, cycles and nesting depth without recursion. Scalars are left to libplist.
class BinaryStructureCheck
{
public:
    explicit BinaryStructureCheck(const QByteArray &data)
        : m_bytes(reinterpret_cast<const uchar *>(data.constData()))
        , m_size(quint64(data.size()))
    { }

    enum class Result { Ok, Corrupt, TooDeep };

    struct Frame
    {
        quint64 object = 0;
        quint64 refs = 0; // position of the first reference
        quint64 count = 0; // references in total
        quint64 next = 0; // next reference to visit
        int depth = 0; // deepest child seen
        quint64 nodes = 1; // nodes of the expanded tree so far
        quint64 keys = 0; // a dictionary's first `keys` references name its keys
    };

    // Shared containers would be copied once per reference; a few shared levels could make
    // billions of nodes out of a small file. The tree libplist builds may hold this many nodes
    // per input byte.
    static constexpr quint64 maximumNodesPerByte = 16;

    Result run(int limit)
    {
        if (m_size < 8 + 32)
            return Result::Corrupt;
        const uchar *trailer = m_bytes + m_size - 32;
        m_offsetSize = trailer[6];
        m_refSize = trailer[7];
        m_objectCount = readUnsigned(trailer + 8, 8);
        const quint64 top = readUnsigned(trailer + 16, 8);
        m_offsetTable = readUnsigned(trailer + 24, 8);
        if (!isIntSize(m_offsetSize) || !isIntSize(m_refSize) || m_objectCount == 0 || top >= m_objectCount)
            return Result::Corrupt;
        if (m_offsetTable < 8 || m_offsetTable > m_size - 32
            || m_objectCount > (m_size - 32 - m_offsetTable) / m_offsetSize)
            return Result::Corrupt;

        // 0 unvisited, 1 on the current path, 2 done; depth of finished containers.
        std::vector<uchar> state(m_objectCount, 0);
        std::vector<quint16> depthOf(m_objectCount, 0);
        std::vector<quint64> nodesOf(m_objectCount, 1);
        m_keyChecked.assign(m_objectCount, 0);
        const quint64 maximumNodes = m_size * maximumNodesPerByte;
        std::vector<Frame> stack;
        Frame first {};
        if (!open(top, first))
            return Result::Corrupt;
        if (first.count == 0)
            return Result::Ok;
        state[top] = 1;
        stack.push_back(first);
        while (!stack.empty()) {
            Frame &frame = stack.back();
            if (frame.next == frame.count) {
                state[frame.object] = 2;
                depthOf[frame.object] = quint16(frame.depth + 1);
                nodesOf[frame.object] = frame.nodes;
                const int finished = frame.depth + 1;
                const quint64 nodes = frame.nodes;
                stack.pop_back();
                if (!stack.empty()) {
                    stack.back().depth = std::max(stack.back().depth, finished);
                    stack.back().nodes += nodes;
                    if (stack.back().nodes > maximumNodes)
                        return Result::TooDeep;
                }
                continue;
            }
            const quint64 child = readUnsigned(m_bytes + frame.refs + frame.next * m_refSize, m_refSize);
            const bool isKey = frame.next < frame.keys;
            ++frame.next;
            if (child >= m_objectCount || (isKey && !isPlainKey(child)))
                return Result::Corrupt;
            if (state[child] == 1)
                return Result::TooDeep; // a container that holds itself
            if (state[child] == 2) {
                if (int(stack.size()) + depthOf[child] > limit)
                    return Result::TooDeep;
                frame.depth = std::max(frame.depth, int(depthOf[child]));
                frame.nodes += nodesOf[child];
                if (frame.nodes > maximumNodes)
                    return Result::TooDeep;
                continue;
            }
            Frame next {};
            if (!open(child, next))
                return Result::Corrupt;
            if (next.count == 0) {
                state[child] = 2; // scalars and empty containers add no depth
                frame.nodes += 1;
                continue;
            }
            if (int(stack.size()) >= limit)
                return Result::TooDeep;
            state[child] = 1;
            stack.push_back(next);
        }
        return Result::Ok;
    }

private:
    static bool isIntSize(quint64 size) { return size == 1 || size == 2 || size == 4 || size == 8; }

    static quint64 readUnsigned(const uchar *p, quint64 size)
    {
        quint64 value = 0;
        for (quint64 i = 0; i < size; ++i)
            value = (value << 8) | p[i];
        return value;
    }

    // Finds an object's references; count stays 0 for anything that is not a container.
    bool open(quint64 object, Frame &frame)
    {
        frame.object = object;
        uchar kind = 0;
        quint64 position = 0;
        quint64 count = 0;
        if (!contents(object, kind, position, count))
            return false;
        if (kind != 0xA && kind != 0xB && kind != 0xC && kind != 0xD)
            return true;
        const quint64 refs = kind == 0xD ? count * 2 : count;
        if (count > m_size || refs > (m_offsetTable - position) / m_refSize)
            return false;
        frame.refs = position;
        frame.count = refs;
        frame.nodes = 1;
        frame.keys = kind == 0xD ? count : 0;
        return true;
    }

    // Position and length of a string-like object's contents, in bounds.
    bool contents(quint64 object, uchar &kind, quint64 &position, quint64 &count) const
    {
        const quint64 offset = readUnsigned(m_bytes + m_offsetTable + object * m_offsetSize, m_offsetSize);
        if (offset < 8 || offset >= m_offsetTable)
            return false;
        kind = m_bytes[offset] >> 4;
        count = m_bytes[offset] & 0x0F;
        position = offset + 1;
        if (count == 0x0F) {
            if (position >= m_offsetTable || (m_bytes[position] >> 4) != 0x1)
                return false;
            const quint64 size = quint64(1) << (m_bytes[position] & 0x0F);
            if (size > 8 || position + 1 + size > m_offsetTable)
                return false;
            count = readUnsigned(m_bytes + position + 1, size);
            position += 1 + size;
        }
        return true;
    }

    // libplist insists that a key is a string without NUL characters (it asserts otherwise).
    bool isPlainKey(quint64 object)
    {
        if (m_keyChecked[object])
            return true;
        uchar kind = 0;
        quint64 position = 0;
        quint64 count = 0;
        if (!contents(object, kind, position, count) || (kind != 0x5 && kind != 0x6))
            return false;
        const quint64 width = kind == 0x6 ? 2 : 1;
        if (count > (m_offsetTable - position) / width)
            return false;
        for (quint64 i = 0; i < count; ++i) {
            if (kind == 0x5 ? m_bytes[position + i] == 0
                            : (m_bytes[position + 2 * i] == 0 && m_bytes[position + 2 * i + 1] == 0))
                return false;
        }
        m_keyChecked[object] = 1;
        return true;
    }

    const uchar *m_bytes;
    quint64 m_size;
    quint64 m_offsetSize = 0;
    quint64 m_refSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_offsetTable = 0;
    std::vector<uchar> m_keyChecked;
};

// ---- libplist tree to OVPlist ---------------------------------------------------------------

QDateTime dateFromReferenceSeconds(double seconds)
{
    const double msecs = (seconds + double(referenceDateOffsetSeconds)) * 1000.0;
    if (!std::isfinite(msecs) || std::fabs(msecs) > 8.0e15)
        return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(qint64(std::floor(msecs)), Qt::UTC);
}

class TreeReader
{
public:
    explicit TreeReader(bool uidDictionaries)
        : m_uidDictionaries(uidDictionaries)
    { }

    OVPlist convert(plist_t node)
    {
        switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return OVPlist(value != 0);
        }
        case PLIST_UINT:
            return integer(node);
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return OVPlist(value);
        }
        case PLIST_STRING:
        case PLIST_KEY: {
            uint64_t length = 0;
            const char *text = plist_get_string_ptr(node, &length);
            return OVPlist(QString::fromUtf8(text, qsizetype(length)));
        }
        case PLIST_DATE:
            return OVPlist(dateFromReferenceSeconds(referenceSeconds(node)));
        case PLIST_DATA: {
            uint64_t length = 0;
            const char *bytes = plist_get_data_ptr(node, &length);
            return OVPlist(QByteArray(bytes, qsizetype(length)));
        }
        case PLIST_UID: {
            uint64_t value = 0;
            plist_get_uid_val(node, &value);
            return OVPlist::uid(value);
        }
        case PLIST_ARRAY: {
            OVPlist::Array array;
            const uint32_t count = plist_array_get_size(node);
            array.reserve(count);
            for (uint32_t i = 0; i < count; ++i)
                array.append(convert(plist_array_get_item(node, i)));
            return OVPlist(array);
        }
        case PLIST_DICT:
            return dictionary(node);
        case PLIST_NONE:
            break;
        }
        return OVPlist();
    }

private:
    // libplist keeps a date as a double but hands it out as 32-bit seconds, which wrap before
    // 1933 and after 2069. Its binary form of the one node carries the double itself.
    static double referenceSeconds(plist_t node)
    {
        char *binary = nullptr;
        uint32_t length = 0;
        plist_to_bin(node, &binary, &length);
        double seconds = 0;
        if (binary && length >= 17 && uchar(binary[8]) == 0x33) {
            quint64 bits = 0;
            for (int i = 9; i < 17; ++i)
                bits = (bits << 8) | uchar(binary[i]);
            std::memcpy(&seconds, &bits, sizeof seconds);
        } else {
            int32_t whole = 0;
            int32_t microseconds = 0;
            plist_get_date_val(node, &whole, &microseconds);
            seconds = double(whole) + double(microseconds) / 1.0e6;
        }
        plist_to_bin_free(binary);
        return seconds;
    }

    // libplist holds every integer as 64 bits plus a hidden width; a value with the top bit
    // set is either negative or an unsigned 16-byte integer. Its XML printer tells the two
    // apart, and such values are rare enough to ask it.
    static OVPlist integer(plist_t node)
    {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        if (value <= uint64_t(std::numeric_limits<qint64>::max()))
            return OVPlist(static_cast<long long>(value));
        char *xml = nullptr;
        uint32_t length = 0;
        plist_to_xml(node, &xml, &length);
        const bool negative = xml && length > 0 && std::strstr(xml, "<integer>-");
        plist_to_xml_free(xml);
        if (negative)
            return OVPlist(static_cast<long long>(value));
        return OVPlist::unsignedInteger(value);
    }

    OVPlist dictionary(plist_t node)
    {
        OVPlist::Dictionary dictionary;
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        for (;;) {
            char *key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iterator, &key, &value);
            if (!key || !value) {
                free(key);
                break;
            }
            const QString name = QString::fromUtf8(key);
            free(key);
            // Keys mostly arrive sorted; the end hint makes those inserts cheap.
            dictionary.insert(dictionary.cend(), name, convert(value));
        }
        free(iterator);
        // XML spells a keyed-archive UID as a dictionary with the one key "CF$UID".
        if (m_uidDictionaries && dictionary.size() == 1) {
            const OVPlist uid = dictionary.value(QStringLiteral("CF$UID"));
            if (uid.isInteger() && uid.toInteger() >= 0)
                return OVPlist::uid(quint64(uid.toInteger()));
        }
        return OVPlist(dictionary);
    }

    bool m_uidDictionaries;
};

// ---- XML writer -------------------------------------------------------------------------------

// "%.17g" as CoreFoundation prints it; the caller holds the C numeric locale.
QByteArray realText(double value)
{
    if (std::isnan(value))
        return QByteArrayLiteral("nan");
    if (std::isinf(value))
        return value > 0 ? QByteArrayLiteral("+infinity") : QByteArrayLiteral("-infinity");
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%.17g", value);
    return QByteArray(text, length);
}

QByteArray integerText(const OVPlist &value)
{
    return value.isUnsignedInteger() ? QByteArray::number(value.toUnsignedInteger())
                                     : QByteArray::number(value.toInteger());
}

class XmlWriter
{
public:
    static constexpr qsizetype flushThreshold = 256 * 1024;

    // Text written so far goes to `sink` whenever a piece is large; the rest stays in the
    // output array for the caller to write.
    void setSink(QIODevice *sink) { m_sink = sink; }
    bool sinkFailed() const { return m_sinkFailed; }

    bool write(const OVPlist &root, QByteArray &out, OVError *error)
    {
        const CNumericLocale cLocale; // "%.17g" must print a point whatever LC_NUMERIC says
        m_out = &out;
        out.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                   "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                   "<plist version=\"1.0\">\n");
        if (!value(root, 0))
            return fail(
                error, OVPlistSerialization::WriteInvalidError,
                QT_TRANSLATE_NOOP("KastrelImporter", "The property list holds a value that cannot be written."));
        out.append("</plist>\n");
        return true;
    }

private:
    void indent(int depth)
    {
        static const QByteArray tabs(OVPlistSerialization::maximumDepth + 2, '\t');
        m_out->append(tabs.constData(), qMin<qsizetype>(depth, tabs.size()));
    }

    // With a device to write to, the text goes out in pieces as it is made, so a large
    // library file never stands whole in memory beside its tree.
    void flushIfLarge()
    {
        if (!m_sink || m_out->size() < flushThreshold)
            return;
        if (m_sink->write(*m_out) != m_out->size())
            m_sinkFailed = true;
        m_out->clear();
    }

    // What stands for `c` in the file's text, or nothing when it stands for itself.
    static const char *escapeFor(char c)
    {
        switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '\r':
            return "&#13;";
        default:
            return nullptr;
        }
    }

    // Whole runs between the characters that need escaping are copied at once: the library
    // file of a large export is mostly strings. Characters XML cannot carry are left out, since
    // one of them in an item's name would make readers refuse the whole file. A carriage return
    // goes in as a character reference: written as it is, every reader would hand it back as a
    // line feed (and CR LF as one line feed), and a path holding one would name another file.
    void escaped(const QString &text)
    {
        const QByteArray utf8 = OVXmlCharacters::carriable(text).toUtf8();
        const char *run = utf8.constData();
        const char *const end = run + utf8.size();
        for (const char *c = run; c != end; ++c) {
            const char *replacement = escapeFor(*c);
            if (replacement) {
                m_out->append(run, c - run).append(replacement);
                run = c + 1;
            }
        }
        m_out->append(run, end - run);
    }

    void element(int depth, const char *tag, const QByteArray &text)
    {
        indent(depth);
        m_out->append('<').append(tag).append('>').append(text).append("</").append(tag).append(">\n");
    }

    void data(const QByteArray &bytes, int depth)
    {
        indent(depth);
        m_out->append("<data>\n");
        const QByteArray base64 = bytes.toBase64();
        const qsizetype lineLength = std::max(16, 76 - 8 * depth);
        for (qsizetype start = 0; start < base64.size(); start += lineLength) {
            indent(depth);
            m_out->append(base64.constData() + start, std::min(lineLength, base64.size() - start));
            m_out->append('\n');
        }
        indent(depth);
        m_out->append("</data>\n");
    }

    bool value(const OVPlist &node, int depth)
    {
        if (depth > OVPlistSerialization::maximumDepth)
            return false; // what could not be read back is not written
        switch (node.type()) {
        case OVPlist::Type::Invalid:
            return false;
        case OVPlist::Type::String:
            indent(depth);
            m_out->append("<string>");
            escaped(node.toString());
            m_out->append("</string>\n");
            return true;
        case OVPlist::Type::Integer:
            element(depth, "integer", integerText(node));
            return true;
        case OVPlist::Type::Real:
            element(depth, "real", realText(node.toReal()));
            return true;
        case OVPlist::Type::Boolean:
            indent(depth);
            m_out->append(node.toBool() ? "<true/>\n" : "<false/>\n");
            return true;
        case OVPlist::Type::Date:
            element(depth, "date", node.toDate().toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ")).toUtf8());
            return true;
        case OVPlist::Type::Data:
            data(node.toData(), depth);
            return true;
        case OVPlist::Type::Uid:
            indent(depth);
            m_out->append("<dict>\n");
            element(depth + 1, "key", QByteArrayLiteral("CF$UID"));
            element(depth + 1, "integer", QByteArray::number(node.toUid()));
            indent(depth);
            m_out->append("</dict>\n");
            return true;
        case OVPlist::Type::Array: {
            indent(depth);
            if (node.isEmpty()) {
                m_out->append("<array/>\n");
                return true;
            }
            m_out->append("<array>\n");
            const OVPlist::Array members = node.toArray();
            for (const OVPlist &member : members) {
                if (!value(member, depth + 1))
                    return false;
                flushIfLarge();
            }
            indent(depth);
            m_out->append("</array>\n");
            return true;
        }
        case OVPlist::Type::Dictionary: {
            indent(depth);
            if (node.isEmpty()) {
                m_out->append("<dict/>\n");
                return true;
            }
            m_out->append("<dict>\n");
            const OVPlist::Dictionary entries = node.toDictionary();
            for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
                indent(depth + 1);
                m_out->append("<key>");
                escaped(it.key());
                m_out->append("</key>\n");
                if (!value(it.value(), depth + 1))
                    return false;
                flushIfLarge();
            }
            indent(depth);
            m_out->append("</dict>\n");
            return true;
        }
        }
        return false;
    }

    QIODevice *m_sink = nullptr;
    bool m_sinkFailed = false;
    QByteArray *m_out = nullptr;
};

// ---- binary writer ----------------------------------------------------------------------------

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
        switch (BinaryStructureCheck(data).run(maximumDepth)) {
        case BinaryStructureCheck::Result::Ok:
            break;
        case BinaryStructureCheck::Result::Corrupt:
            fail(error, ReadCorruptError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a valid property list."));
            return OVPlist();
        case BinaryStructureCheck::Result::TooDeep:
            fail(error, ReadTooDeepError,
                 QT_TRANSLATE_NOOP("KastrelImporter", "The property list is nested too deeply or contains itself."));
            return OVPlist();
        }
    } else if (data.startsWith("bplist")) {
        fail(error, ReadCorruptError,
             QT_TRANSLATE_NOOP("KastrelImporter", "The property list uses an unsupported binary version."));
        return OVPlist();
    } else if (!xmlDepthWithinLimit(data, maximumDepth + 1)) {
        fail(error, ReadTooDeepError,
             QT_TRANSLATE_NOOP("KastrelImporter", "The property list is nested too deeply or contains itself."));
        return OVPlist();
    }

    plist_t parsed = nullptr;
    {
        const CNumericLocale cLocale;
        if (binary)
            plist_from_bin(data.constData(), uint32_t(data.size()), &parsed);
        else if (!data.isEmpty())
            plist_from_xml(data.constData(), uint32_t(data.size()), &parsed);
    }
    const PlistHandle root(parsed);
    if (!root) {
        fail(error, ReadCorruptError, QT_TRANSLATE_NOOP("KastrelImporter", "The data is not a valid property list."));
        return OVPlist();
    }
    OVPlist result = TreeReader(!binary).convert(root.get());
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
    const bool written
        = format == Format::Xml ? XmlWriter().write(plist, out, error) : BinaryWriter().write(plist, out, error);
    return written ? out : QByteArray();
}

bool OVPlistSerialization::writePropertyList(const OVPlist &plist, QIODevice *device, Format format, OVError *error)
{
    if (format == Format::Xml && device && device->isWritable()) {
        QByteArray rest;
        XmlWriter writer;
        writer.setSink(device);
        if (!writer.write(plist, rest, error))
            return false;
        if (writer.sinkFailed() || device->write(rest) != rest.size())
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
