// Code-page decoding. Windows Latin 1 is decoded here directly because nearly every RTF
// uses it; the others go through Qt's ICU-backed decoders, looked up by name once.
#include "formats/RTFCodePages.h"

#include "formats/CodePageTables.h"

#include <QHash>
#include <QMutex>
#include <QStringDecoder>
#include <memory>

namespace {

// The 0x80-0x9F row of Windows-1252; the rest of its upper half equals Latin 1.
constexpr char16_t cp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

QString decodeCp1252(const QByteArray &bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        *out++ = QChar(byte >= 0x80 && byte < 0xA0 ? cp1252High[byte - 0x80] : char16_t(byte));
    }
    return text;
}

const char *decoderName(int codePage)
{
    switch (codePage) {
    case 437:
        return "IBM437";
    case 720:
        return "IBM720";
    case 737:
        return "IBM737";
    case 775:
        return "IBM775";
    case 850:
        return "IBM850";
    case 852:
        return "IBM852";
    case 855:
        return "IBM855";
    case 857:
        return "IBM857";
    case 860:
        return "IBM860";
    case 861:
        return "IBM861";
    case 862:
        return "IBM862";
    case 863:
        return "IBM863";
    case 864:
        return "IBM864";
    case 865:
        return "IBM865";
    case 866:
        return "IBM866";
    case 869:
        return "IBM869";
    case 874:
        return "windows-874";
    case 932:
        return "windows-932";
    case 936:
        return "GBK";
    case 949:
        return "windows-949";
    case 950:
        return "Big5";
    case 1250:
        return "windows-1250";
    case 1251:
        return "windows-1251";
    case 1253:
        return "windows-1253";
    case 1254:
        return "windows-1254";
    case 1255:
        return "windows-1255";
    case 1256:
        return "windows-1256";
    case 1257:
        return "windows-1257";
    case 1258:
        return "windows-1258";
    case 10000:
        return "macintosh";
    // The Macintosh double-byte scripts are the Windows ones plus a few single bytes, which
    // decodeMacDoubleByte() handles before the bytes get here.
    case 10001:
        return "windows-932";
    case 10002:
        return "Big5";
    case 10003:
        return "windows-949";
    case 10008:
        return "GBK";
    case 10006:
        return "x-mac-greek";
    case 10007:
    case 10017: // Mac Ukrainian: Mac Cyrillic with two letters more, both in Unicode's Cyrillic
        return "x-mac-cyrillic";
    case 10029:
        return "x-mac-centraleurroman";
    case 10081:
        return "x-mac-turkish";
    case 20932:
        return "EUC-JP";
    case 20936:
        return "GB2312";
    case 28591:
        return "ISO-8859-1";
    case 28592:
        return "ISO-8859-2";
    case 28595:
        return "ISO-8859-5";
    case 28596:
        return "ISO-8859-6";
    case 28597:
        return "ISO-8859-7";
    case 28598:
        return "ISO-8859-8";
    case 28605:
        return "ISO-8859-15";
    case 65001:
        return "UTF-8";
    default:
        return nullptr;
    }
}

// One stateless decoder per code page, shared by all readers. A null entry records that the
// code page has no decoder here.
QString decodeWithDecoder(const QByteArray &bytes, int codePage)
{
    static QMutex mutex;
    static QHash<int, std::shared_ptr<QStringDecoder>> decoders;
    std::shared_ptr<QStringDecoder> decoder;
    {
        QMutexLocker locker(&mutex);
        auto found = decoders.constFind(codePage);
        if (found == decoders.constEnd()) {
            const char *name = decoderName(codePage);
            std::shared_ptr<QStringDecoder> made;
            if (name) {
                made = std::make_shared<QStringDecoder>(name, QStringConverter::Flag::Stateless);
                if (!made->isValid())
                    made.reset();
            }
            found = decoders.insert(codePage, made);
        }
        decoder = found.value();
    }
    if (!decoder)
        return decodeCp1252(bytes);
    // A stateless decoder may still be used from one thread at a time only.
    static QMutex useMutex;
    QMutexLocker locker(&useMutex);
    return decoder->decode(bytes);
}

// A code page of one byte per character from its table of the upper half. A zero entry is a
// byte that stands for a short sequence of characters.
QString decodeWithTable(const QByteArray &bytes, int codePage, const char16_t *upperHalf)
{
    QString text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const char16_t character = byte < 0x80 ? char16_t(byte) : upperHalf[byte - 0x80];
        if (character != 0 || byte == 0) {
            text += QChar(character);
        } else if (const char16_t *sequence = CodePageTables::sequenceFor(codePage, byte)) {
            text += QString::fromUtf16(sequence);
        } else {
            text += QChar(0xFFFD);
        }
    }
    return text;
}

// The bytes that the Macintosh double-byte scripts use alone where Windows has lead bytes or
// nothing, as Apple's mapping tables for the scripts give them (Unicode's VENDORS/APPLE
// JAPANESE.TXT, CHINTRAD.TXT, KOREAN.TXT and CHINSIMP.TXT): no-break space, copyright, trade
// mark, ellipsis, and a few more per script. Apple's private-use transcoding hints are left off.
char16_t macSingleByte(int codePage, unsigned char byte)
{
    if (codePage == 10003) {
        switch (byte) {
        case 0x80:
            return 0x00A0;
        case 0x81:
            return 0x20A9; // won sign
        case 0x83:
            return 0x00A9;
        default:
            return 0;
        }
    }
    switch (byte) {
    case 0x80:
        return codePage == 10008 ? 0x00FC : 0x005C;
    case 0xA0:
        return 0x00A0;
    case 0xFD:
        return 0x00A9;
    case 0xFE:
        return 0x2122;
    case 0xFF:
        return 0x2026;
    default:
        return 0;
    }
}

// True for a byte the Windows decoder reads as it stands alone in the Macintosh script: ASCII,
// and the half-width katakana of Japanese. Any other byte that neither begins a character nor
// has a character of its own would be taken by the Windows decoder as the first of two bytes,
// swallowing the character after it.
bool decodesAlone(int codePage, unsigned char byte)
{
    return byte < 0x80 || (codePage == 10001 && byte >= 0xA1 && byte <= 0xDF);
}

QString decodeMacDoubleByte(const QByteArray &bytes, int codePage)
{
    QString text;
    qsizetype segment = 0;
    for (qsizetype i = 0; i < bytes.size();) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (RTFCodePages::isLeadByte(codePage, byte) && i + 1 < bytes.size()) {
            i += 2;
            continue;
        }
        if (!decodesAlone(codePage, byte)) {
            const char16_t single = macSingleByte(codePage, byte);
            text += decodeWithDecoder(bytes.mid(segment, i - segment), codePage);
            text += QChar(single ? single : char16_t(0xFFFD));
            segment = i + 1;
        }
        ++i;
    }
    if (segment == 0)
        return decodeWithDecoder(bytes, codePage);
    return text + decodeWithDecoder(bytes.mid(segment), codePage);
}

// Johab, the Korean code page that encodes a Hangul syllable by its three letters in five
// bits each. Its other characters are those of KS X 1001, moved: they are turned into the
// Unified Hangul Code bytes and decoded as such.
QString decodeJohab(const QByteArray &bytes)
{
    // The five-bit values of initial, medial and final letters, as indexes into Unicode's
    // syllable arithmetic; -1 for values that are no letter, and fill for "none".
    static constexpr int initials[32] = {-1, -2, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                                         14, 15, 16, 17, 18, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    static constexpr int medials[32] = {-1, -1, -2, 0,  1,  2,  3,  4,  -1, -1, 5,  6,  7,  8,  9,  10,
                                        -1, -1, 11, 12, 13, 14, 15, 16, -1, -1, 17, 18, 19, 20, -1, -1};
    static constexpr int finals[32] = {-1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14,
                                       15, 16, -1, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, -1, -1};
    QString text;
    QByteArray other;
    const auto flushOther = [&] {
        if (!other.isEmpty())
            text += decodeWithDecoder(other, 949);
        other.clear();
    };
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        if (lead < 0x80 || i + 1 >= bytes.size()) {
            flushOther();
            text += lead < 0x80 ? QChar(lead) : QChar(0xFFFD);
            continue;
        }
        const auto trail = static_cast<unsigned char>(bytes[++i]);
        const int code = lead << 8 | trail;
        if (lead >= 0x84 && lead <= 0xD3) {
            flushOther();
            const int initial = initials[(code >> 10) & 0x1F];
            const int medial = medials[(code >> 5) & 0x1F];
            const int final = finals[code & 0x1F];
            if (initial >= 0 && medial >= 0 && final >= 0)
                text += QChar(char16_t(0xAC00 + (initial * 21 + medial) * 28 + final));
            else
                text += QChar(0xFFFD); // lone letters are rare and left out here
            continue;
        }
        // Symbols and Hanja: rows 0xD9-0xDE and 0xE0-0xF9 hold two KS X 1001 rows each.
        int row = -1;
        if (lead >= 0xD9 && lead <= 0xDE)
            row = 0x21 + (lead - 0xD9) * 2;
        else if (lead >= 0xE0 && lead <= 0xF9)
            row = 0x4A + (lead - 0xE0) * 2;
        if (row < 0 || trail < 0x31 || trail == 0x7F || trail == 0x80 || trail > 0xFE) {
            flushOther();
            text += QChar(0xFFFD);
            continue;
        }
        int column = trail <= 0x7E ? trail - 0x31 + 0x21 : trail - 0x91 + 0x6F;
        if (trail > 0xA0) {
            ++row;
            column = trail - 0xA1 + 0x21;
        }
        other.append(char(row | 0x80));
        other.append(char(column | 0x80));
    }
    flushOther();
    return text;
}

// How plausible the text is as prose: letters inside words and common punctuation count for
// it; letters standing alone, capitals inside lower-case words, ligatures and odd symbols
// count against it.
int plausibility(const QString &text)
{
    int score = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const char16_t u = c.unicode();
        if (u < 0x80)
            continue;
        const QChar before = i > 0 ? text.at(i - 1) : QChar(u' ');
        const QChar after = i + 1 < text.size() ? text.at(i + 1) : QChar(u' ');
        if (u == 0xFFFD || (u >= 0xFB00 && u <= 0xFB4F)) {
            score -= 3;
        } else if (c.isLetter()) {
            if (c.isUpper() && before.isLower())
                score -= 3;
            else if (before.isLetter() || after.isLetter())
                score += 2;
            else
                score -= 2;
        } else if (c.category() == QChar::Punctuation_InitialQuote || c.category() == QChar::Punctuation_FinalQuote
                   || u == 0x2013 || u == 0x2014 || u == 0x2026 || u == 0xA0 || u == 0x20AC || u == 0x201E
                   || u == 0x201A) {
            score += 1;
        } else if (u != 0x2022) {
            score -= 2;
        }
    }
    return score;
}

} // namespace

namespace RTFCodePages {

int codePageForCharset(int charset, int documentCodePage)
{
    switch (charset) {
    case 0:
        return isMultiByte(documentCodePage) ? WindowsLatin1 : documentCodePage;
    case 1: // default charset
        return documentCodePage;
    case 2: // symbol fonts: their bytes are glyph positions, shown here as Latin 1
        return WindowsLatin1;
    // The Macintosh scripts, as the Cocoa text system wrote them up to Mac OS X 10.4.
    case 77:
        return MacRoman;
    case 78:
        return 10001; // Japanese
    case 79:
        return 10003; // Korean
    case 80:
        return 10008; // simplified Chinese
    case 81:
        return 10002; // traditional Chinese
    case 82:
        return 1361; // Korean Johab
    case 83:
        return 10005; // Hebrew
    case 84:
        return 10004; // Arabic
    case 85:
        return 10006; // Greek
    case 86:
        return 10081; // Turkish
    case 87:
        return 10021; // Thai
    case 88:
        return 10029; // Central European
    case 89:
        return 10007; // Cyrillic
    case 128:
        return 932;
    case 129:
        return 949;
    case 130:
        return 1361;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
    case 181: // Hebrew user
        return 1255;
    case 178:
    case 179: // Arabic traditional
    case 180: // Arabic user
        return 1256;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    case 254:
        return 437;
    case 255:
        return 850;
    default:
        return documentCodePage;
    }
}

bool isMultiByte(int codePage)
{
    switch (codePage) {
    case 932:
    case 936:
    case 949:
    case 950:
    case 1361:
    case 10001:
    case 10002:
    case 10003:
    case 10008:
    case 20932:
    case 20936:
    case 65001:
        return true;
    default:
        return false;
    }
}

bool isLeadByte(int codePage, unsigned char byte)
{
    switch (codePage) {
    case 932:
    case 10001:
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    case 936:
    case 949:
    case 950:
    case 1361:
        return byte >= 0x81 && byte <= 0xFE;
    case 10002:
        return byte >= 0xA1 && byte <= 0xFC;
    case 10003:
        return byte >= 0xA1 && byte <= 0xFE;
    case 10008:
    case 20936:
        return byte >= 0xA1 && byte <= 0xF7;
    case 20932:
        return byte == 0x8E || byte == 0x8F || (byte >= 0xA1 && byte <= 0xFE);
    default:
        return false;
    }
}

bool endsInLeadByte(const QByteArray &bytes, int codePage)
{
    if (bytes.isEmpty() || !isMultiByte(codePage))
        return false;
    bool lead = false;
    for (const char byte : bytes)
        lead = !lead && isLeadByte(codePage, static_cast<unsigned char>(byte));
    return lead;
}

QString decode(const QByteArray &bytes, int codePage)
{
    // A first byte whose second never came shows as a replacement character, not as nothing.
    if (endsInLeadByte(bytes, codePage))
        return decode(bytes.chopped(1), codePage) + QChar(0xFFFD);
    if (codePage == WindowsLatin1)
        return decodeCp1252(bytes);
    if (const char16_t *table = CodePageTables::upperHalf(codePage))
        return decodeWithTable(bytes, codePage, table);
    if (codePage == 1361)
        return decodeJohab(bytes);
    if (codePage == 10001 || codePage == 10002 || codePage == 10003 || codePage == 10008)
        return decodeMacDoubleByte(bytes, codePage);
    return decodeWithDecoder(bytes, codePage);
}

QString decodeLegacyText(const QByteArray &bytes)
{
    QString windows = decodeCp1252(bytes);
    QString mac = decodeWithDecoder(bytes, MacRoman);
    return plausibility(mac) > plausibility(windows) ? mac : windows;
}

} // namespace RTFCodePages
