// The libplist side of reading: the parse itself, in the C numeric locale, and the conversion of
// libplist's tree into an OVPlist, with the dates and large integers libplist hands out badly.
#include "foundation/OVPlistTreeReader.h"

#include "foundation/OVPlistInternal.h"

#include <QDateTime>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <plist/plist.h>

namespace OVPlistInternal {

namespace {

// The one owner of a libplist tree.
struct PlistFree
{
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistHandle = std::unique_ptr<void, PlistFree>;

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

} // namespace

OVPlist parseWithLibplist(const QByteArray &data, bool binary)
{
    plist_t parsed = nullptr;
    {
        const CNumericLocale cLocale;
        if (binary)
            plist_from_bin(data.constData(), uint32_t(data.size()), &parsed);
        else if (!data.isEmpty())
            plist_from_xml(data.constData(), uint32_t(data.size()), &parsed);
    }
    const PlistHandle root(parsed);
    if (!root)
        return OVPlist();
    return TreeReader(!binary).convert(root.get());
}

} // namespace OVPlistInternal
