// The application's one string table. Every user-visible text is looked up with its English
// text as the key; a missing translation gives the key back. Texts are marked for lupdate
// where they are written: OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "text")).
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantList>

// The one translation context of the whole application.
inline constexpr const char *OVStringTableContext = "KastrelImporter";

QString OVLocalizedString(const char *englishText);

// A count's text, the entry marked with QT_TRANSLATE_N_NOOP: its %n becomes `count`, and the
// string table gives the form that fits the count ("%n items" gives "1 item" in English).
QString OVLocalizedCountString(const char *englishText, qint64 count);

// One text in the two languages it is needed in: the person's, for the window and the command
// line, and English, for what programs read (the log, the library file).
struct OVText
{
    QString english;
    QString localized;

    // A text that is the same in every language: a name, a path, a message of the system.
    static OVText untranslated(const QString &text) { return OVText {text, text}; }

    OVText arg(const QString &argument) const { return OVText {english.arg(argument), localized.arg(argument)}; }
    OVText operator+(const OVText &other) const
    {
        return OVText {english + other.english, localized + other.localized};
    }
};
Q_DECLARE_METATYPE(OVText)

// The English text and its string-table entry.
OVText OVLocalizedText(const char *englishText);

// The English format and its entry, each filled with `arguments` as OVStringWithFormat does;
// an argument that is an OVText (QVariant::fromValue) fills each side with its own side.
OVText OVLocalizedTextWithFormat(const char *englishFormat, const QVariantList &arguments);
