#include "foundation/OVStringFormat.h"

namespace {

struct Specification
{
    int position = 0; // 1-based argument position, 0 for "the next one"
    bool leftAlign = false;
    bool zeroPad = false;
    int width = 0;
    int precision = -1;
    QChar conversion;
};

int readNumber(const QString &format, qsizetype &index)
{
    int value = 0;
    while (index < format.size() && format.at(index).isDigit()) {
        value = qMin(value * 10 + format.at(index).digitValue(), 100000);
        ++index;
    }
    return value;
}

// Parses the specification after a "%"; answers false when the text is no conversion.
bool parseSpecification(const QString &format, qsizetype &index, Specification &spec)
{
    const qsizetype start = index;
    if (index < format.size() && format.at(index).isDigit()) {
        const int number = readNumber(format, index);
        if (index < format.size() && format.at(index) == QLatin1Char('$')) {
            spec.position = number;
            ++index;
        } else {
            index = start;
        }
    }
    for (; index < format.size(); ++index) {
        const QChar flag = format.at(index);
        if (flag == QLatin1Char('-'))
            spec.leftAlign = true;
        else if (flag == QLatin1Char('0'))
            spec.zeroPad = true;
        else if (flag != QLatin1Char('+') && flag != QLatin1Char(' ') && flag != QLatin1Char('#'))
            break;
    }
    spec.width = readNumber(format, index);
    if (index < format.size() && format.at(index) == QLatin1Char('.')) {
        ++index;
        spec.precision = readNumber(format, index);
    }
    while (index < format.size() && QStringLiteral("hlqLjzt").contains(format.at(index)))
        ++index;
    if (index >= format.size())
        return false;
    spec.conversion = format.at(index);
    if (!QStringLiteral("@sdiuxXfFeEgGc").contains(spec.conversion))
        return false;
    ++index;
    return true;
}

QString convert(const Specification &spec, const QVariant &argument)
{
    const char c = spec.conversion.toLatin1();
    switch (c) {
    case '@':
    case 's':
        return spec.precision >= 0 ? argument.toString().left(spec.precision) : argument.toString();
    case 'd':
    case 'i':
        return QString::number(argument.toLongLong());
    case 'u':
        return QString::number(argument.toULongLong());
    case 'x':
        return QString::number(argument.toULongLong(), 16);
    case 'X':
        return QString::number(argument.toULongLong(), 16).toUpper();
    case 'c':
        return QString(QChar(char16_t(argument.toUInt())));
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
        return QString::number(argument.toDouble(), c == 'F' ? 'f' : c, spec.precision >= 0 ? spec.precision : 6);
    }
    return QString();
}

QString pad(const Specification &spec, QString text)
{
    if (text.size() >= spec.width)
        return text;
    const qsizetype missing = spec.width - text.size();
    if (spec.leftAlign)
        return text + QString(missing, QLatin1Char(' '));
    const bool numeric = spec.conversion != QLatin1Char('@') && spec.conversion != QLatin1Char('s');
    if (spec.zeroPad && numeric) {
        const qsizetype signLength = text.startsWith(QLatin1Char('-')) ? 1 : 0;
        return text.insert(signLength, QString(missing, QLatin1Char('0')));
    }
    return QString(missing, QLatin1Char(' ')) + text;
}

} // namespace

QString OVStringWithFormat(const QString &format, const QVariantList &arguments)
{
    QString result;
    result.reserve(format.size() + 16 * arguments.size());
    int nextArgument = 0;
    qsizetype index = 0;
    while (index < format.size()) {
        const qsizetype percent = format.indexOf(QLatin1Char('%'), index);
        if (percent < 0) {
            result += QStringView(format).mid(index);
            break;
        }
        result += QStringView(format).mid(index, percent - index);
        index = percent + 1;
        if (index < format.size() && format.at(index) == QLatin1Char('%')) {
            result += QLatin1Char('%');
            ++index;
            continue;
        }
        Specification spec;
        qsizetype end = index;
        if (!parseSpecification(format, end, spec)) {
            result += QLatin1Char('%');
            continue;
        }
        index = end;
        const int argumentIndex = spec.position > 0 ? spec.position - 1 : nextArgument++;
        if (argumentIndex < arguments.size())
            result += pad(spec, convert(spec, arguments.at(argumentIndex)));
    }
    return result;
}
