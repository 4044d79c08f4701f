// The code page tables this program carries itself, compared at every byte with converters
// that other people wrote and that are installed here: Python's codecs for the Macintosh
// scripts it knows, and iconv's TIS-620 and ISO 8859-8 for the Thai and Hebrew letters the
// Macintosh scripts share with them. A test skips when its converter is not installed.
#include "formats/RTFCodePages.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QtTest>

namespace {

QByteArray upperHalf()
{
    QByteArray bytes;
    for (int byte = 0x80; byte <= 0xFF; ++byte)
        bytes.append(char(byte));
    return bytes;
}

// What a converter program writes for the bytes, as UTF-16 (big-endian) decoded, or a null
// string when it did not run or failed.
QString convertWith(const QString &program, const QStringList &arguments, const QByteArray &bytes)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted())
        return {};
    process.write(bytes);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return {};
    QStringDecoder utf16(QStringDecoder::Utf16BE);
    return utf16.decode(process.readAllStandardOutput());
}

QString describe(const QString &text)
{
    QStringList codes;
    for (const QChar c : text)
        codes << QStringLiteral("U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
    return codes.join(QLatin1Char(' '));
}

// Compares our decoding with the reference byte by byte, naming every byte that differs.
void compareEachByte(const QByteArray &bytes, int codePage, const QString &reference)
{
    QCOMPARE(reference.size(), bytes.size());
    QStringList differences;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const QString ours = RTFCodePages::decode(bytes.mid(i, 1), codePage);
        if (ours != reference.mid(i, 1))
            differences << QStringLiteral("0x%1: ours %2, reference %3")
                               .arg(static_cast<unsigned char>(bytes[i]), 2, 16, QLatin1Char('0'))
                               .arg(describe(ours), describe(reference.mid(i, 1)));
    }
    QVERIFY2(differences.isEmpty(), qPrintable(differences.join(QStringLiteral("; "))));
}

QByteArray bytesIn(std::initializer_list<std::pair<int, int>> ranges)
{
    QByteArray bytes;
    for (const auto &[first, last] : ranges)
        for (int byte = first; byte <= last; ++byte)
            bytes.append(char(byte));
    return bytes;
}

} // namespace

class TestCodePageReferences : public QObject
{
    Q_OBJECT

private slots:
    void macScriptsMatchPythonCodecs_data()
    {
        QTest::addColumn<int>("codePage");
        QTest::addColumn<QString>("codec");
        QTest::newRow("Mac Arabic") << 10004 << QStringLiteral("mac_arabic");
        QTest::newRow("Mac Romanian") << 10010 << QStringLiteral("mac_romanian");
        QTest::newRow("Mac Icelandic") << 10079 << QStringLiteral("mac_iceland");
        QTest::newRow("Mac Croatian") << 10082 << QStringLiteral("mac_croatian");
        // Qt's own converters, which this program uses for these, checked the same way.
        QTest::newRow("Mac Roman") << 10000 << QStringLiteral("mac_roman");
        QTest::newRow("Mac Greek") << 10006 << QStringLiteral("mac_greek");
        QTest::newRow("Mac Cyrillic") << 10007 << QStringLiteral("mac_cyrillic");
        QTest::newRow("Mac Central European") << 10029 << QStringLiteral("mac_latin2");
        QTest::newRow("Mac Turkish") << 10081 << QStringLiteral("mac_turkish");
    }

    void macScriptsMatchPythonCodecs()
    {
        QFETCH(int, codePage);
        QFETCH(QString, codec);
        const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
        if (python.isEmpty())
            QSKIP("python3 is not installed");
        const QString script = QStringLiteral("import sys; data = sys.stdin.buffer.read(); "
                                              "sys.stdout.buffer.write(data.decode(sys.argv[1], 'replace')"
                                              ".encode('utf-16-be'))");
        const QString reference = convertWith(python, {QStringLiteral("-c"), script, codec}, upperHalf());
        if (reference.isNull())
            QSKIP("this python3 has no such codec");
        compareEachByte(upperHalf(), codePage, reference);
    }

    // The letters the Macintosh scripts share with an ISO charset stand where that charset has them.
    void macLettersMatchIconv_data()
    {
        QTest::addColumn<int>("codePage");
        QTest::addColumn<QString>("charset");
        QTest::addColumn<QByteArray>("letters");
        QTest::newRow("Mac Thai") << 10021 << QStringLiteral("TIS-620")
                                  << bytesIn({{0xA1, 0xDA}, {0xDF, 0xED}, {0xEF, 0xF9}});
        QTest::newRow("Mac Hebrew") << 10005 << QStringLiteral("ISO-8859-8") << bytesIn({{0xE0, 0xFA}});
    }

    void macLettersMatchIconv()
    {
        QFETCH(int, codePage);
        QFETCH(QString, charset);
        QFETCH(QByteArray, letters);
        const QString reference
            = convertWith(QStringLiteral("iconv"),
                          {QStringLiteral("-f"), charset, QStringLiteral("-t"), QStringLiteral("UTF-16BE")}, letters);
        if (reference.isNull())
            QSKIP("iconv with the charset is not installed");
        compareEachByte(letters, codePage, reference);
    }
};

QTEST_GUILESS_MAIN(TestCodePageReferences)
#include "TestCodePageReferences.moc"
