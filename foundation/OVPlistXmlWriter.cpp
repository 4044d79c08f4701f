// The XML property-list writer.
#include "foundation/OVPlistXmlWriter.h"

#include "foundation/OVPlistInternal.h"
#include "foundation/OVXmlCharacters.h"

#include <QDateTime>
#include <QIODevice>
#include <algorithm>
#include <cmath>
#include <cstdio>

namespace OVPlistInternal {

namespace {

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

} // namespace

bool writeXml(const OVPlist &root, QByteArray &out, OVError *error, QIODevice *sink, bool *sinkFailed)
{
    XmlWriter writer;
    writer.setSink(sink);
    const bool written = writer.write(root, out, error);
    if (sinkFailed)
        *sinkFailed = writer.sinkFailed();
    return written;
}

} // namespace OVPlistInternal
