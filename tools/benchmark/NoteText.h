// The text of a typical note as the benchmarks generate it: RTF paragraphs of plain words,
// each with a bold, an italic and a coloured run and one accented word. Shared so that the
// library benchmark and the conversion benchmark measure the same notes.
#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <iterator>

namespace NoteText {

inline int between(QRandomGenerator &random, int low, int high)
{
    return int(random.bounded(low, high + 1));
}

inline QString words(QRandomGenerator &random, int count)
{
    static const char *const vocabulary[]
        = {"library", "harbour",  "morning", "invoice", "travel",  "garden", "project",
           "meeting", "recipe",   "kitchen", "account", "holiday", "letter", "budget",
           "station", "mountain", "river",   "concert", "window",  "yellow", "quiet"};
    QStringList chosen;
    for (int i = 0; i < count; ++i)
        chosen.append(QString::fromLatin1(vocabulary[random.bounded(int(std::size(vocabulary)))]));
    return chosen.join(QLatin1Char(' '));
}

// RTF of about `size` bytes. The same generator state always gives the same text.
inline QByteArray rtf(QRandomGenerator &random, int size)
{
    QByteArray text
        = "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2761\n{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;"
          "\\f1\\fswiss\\fcharset0 Helvetica-Bold;}\n{\\colortbl;\\red255\\green255\\blue255;"
          "\\red200\\green30\\blue30;}\n\\pard\\tx720\\pardirnatural\\partightenfactor0\n\n\\f0\\fs24 \\cf0 ";
    while (text.size() < size) {
        text += words(random, between(random, 8, 30)).toLatin1() + " {\\b " + words(random, 2).toLatin1() + "} {\\i "
            + words(random, 3).toLatin1() + "} {\\cf2 " + words(random, 1).toLatin1() + "} caf\\'e9 "
            + words(random, between(random, 5, 20)).toLatin1() + ".\\\n";
    }
    return text + "}";
}

} // namespace NoteText
