// The colour strings of the scripting interface; see ScriptingColor.h. Reading is one pass
// over the text with no backtracking, and gives up as soon as the text cannot be a colour, so
// any length of rubbish is cheap.
#include "engine/ScriptingColor.h"

#include <QList>
#include <QString>
#include <optional>

namespace ScriptingColor {

namespace {

// Longer than any colour the interface writes, with room for long fractions.
constexpr qsizetype LongestColorText = 4096;
// Longer than any colour keyword.
constexpr qsizetype LongestKeyword = 32;
constexpr int MostComponents = 5;

bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// A decimal number from 0 to 1: digits, optionally a point and more digits (".5" and "1."
// included). No sign, no exponent.
std::optional<double> component(QStringView word)
{
    qsizetype digits = 0;
    qsizetype points = 0;
    for (QChar c : word) {
        if (isDigit(c))
            ++digits;
        else if (c == QLatin1Char('.'))
            ++points;
        else
            return std::nullopt;
    }
    if (digits == 0 || points > 1)
        return std::nullopt;
    bool ok = false;
    const double value = word.toDouble(&ok);
    if (!ok || value < 0.0 || value > 1.0)
        return std::nullopt;
    return value;
}

// The words of `text` separated by blanks; nothing when there are more than `most`.
std::optional<QList<QStringView>> words(QStringView text, int most)
{
    QList<QStringView> found;
    qsizetype start = -1;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const bool blank = i == text.size() || isBlank(text.at(i));
        if (!blank && start < 0) {
            start = i;
        } else if (blank && start >= 0) {
            if (found.size() == most)
                return std::nullopt;
            found.append(text.mid(start, i - start));
            start = -1;
        }
    }
    return found;
}

QColor keywordColor(QStringView word)
{
    if (word.size() > LongestKeyword)
        return QColor();
    for (QChar c : word) {
        if (!((c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))))
            return QColor();
    }
    // The one CSS keyword younger than the SVG list that Qt knows.
    if (word.compare(QLatin1String("rebeccapurple"), Qt::CaseInsensitive) == 0)
        return QColor::fromRgb(0x66, 0x33, 0x99);
    const QColor color = QColor::fromString(word);
    return color.isValid() ? color.toRgb() : QColor();
}

} // namespace

QColor deviceRGBColor(QStringView text)
{
    if (text.size() > LongestColorText)
        return QColor();
    const std::optional<QList<QStringView>> found = words(text, 1 + MostComponents);
    if (!found || found->isEmpty())
        return QColor();
    const QList<QStringView> &parts = *found;
    const QStringView space = parts.first();
    if (parts.size() == 1)
        return keywordColor(space);

    QList<double> values;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        const std::optional<double> value = component(parts.at(i));
        if (!value)
            return QColor();
        values.append(*value);
    }
    if (space.compare(QLatin1String("rgb"), Qt::CaseInsensitive) == 0 && values.size() == 4)
        return QColor::fromRgbF(float(values[0]), float(values[1]), float(values[2]), float(values[3]));
    if (space.compare(QLatin1String("gray"), Qt::CaseInsensitive) == 0 && values.size() == 2)
        return QColor::fromRgbF(float(values[0]), float(values[0]), float(values[0]), float(values[1]));
    if (space.compare(QLatin1String("cmyk"), Qt::CaseInsensitive) == 0 && values.size() == 5)
        return QColor::fromCmykF(float(values[0]), float(values[1]), float(values[2]), float(values[3]),
                                 float(values[4]))
            .toRgb();
    return QColor();
}

} // namespace ScriptingColor
