// List markers from the list table. A level's text is its length in the first character and
// then the marker, where the characters 0 to 8 stand for the numbers of levels 1 to 9.
#include "formats/RTFListTable.h"

#include "formats/RTFSymbolFonts.h"

namespace {

constexpr int maxLevels = 9;

QString roman(int number, bool upper)
{
    if (number <= 0 || number >= 4000)
        return QString::number(number);
    static const struct
    {
        int value;
        const char *letters;
    } digits[] = {{1000, "m"}, {900, "cm"}, {500, "d"}, {400, "cd"}, {100, "c"}, {90, "xc"}, {50, "l"},
                  {40, "xl"},  {10, "x"},   {9, "ix"},  {5, "v"},    {4, "iv"},  {1, "i"}};
    QString text;
    for (const auto &digit : digits)
        for (; number >= digit.value; number -= digit.value)
            text += QLatin1String(digit.letters);
    return upper ? text.toUpper() : text;
}

QString letters(int number, bool upper)
{
    if (number <= 0)
        return QString::number(number);
    // a..z, then aa..zz, as word processors count.
    const QChar letter(char16_t((upper ? u'A' : u'a') + (number - 1) % 26));
    return QString((number - 1) / 26 + 1, letter);
}

QString formatted(int number, int format)
{
    switch (format) {
    case 1:
        return roman(number, true);
    case 2:
        return roman(number, false);
    case 3:
        return letters(number, true);
    case 4:
        return letters(number, false);
    case 22:
        return number < 10 ? QStringLiteral("0") + QString::number(number) : QString::number(number);
    case 23:
    case 255:
        return {};
    default:
        return QString::number(number);
    }
}

} // namespace

void RTFListTable::beginList()
{
    m_inOverride = false;
    if (m_lists.size() < 10000)
        m_lists.append(List());
}

void RTFListTable::setListId(int id)
{
    if (m_inOverride) {
        if (!m_overrides.isEmpty()) {
            m_overrides.last().listId = id;
            m_overrideLists.insert(m_overrides.last().number, id);
        }
    } else if (!m_lists.isEmpty()) {
        m_lists.last().id = id;
        m_listIndex.insert(id, m_lists.size() - 1);
    }
}

void RTFListTable::beginLevel()
{
    if (!m_lists.isEmpty() && m_lists.last().levels.size() < maxLevels)
        m_lists.last().levels.append(Level());
}

void RTFListTable::setLevelFormat(int format)
{
    if (!m_lists.isEmpty() && !m_lists.last().levels.isEmpty())
        m_lists.last().levels.last().format = format;
}

void RTFListTable::setLevelStart(int start)
{
    if (!m_lists.isEmpty() && !m_lists.last().levels.isEmpty())
        m_lists.last().levels.last().start = start;
}

void RTFListTable::setLevelText(const QString &text)
{
    if (m_lists.isEmpty() || m_lists.last().levels.isEmpty() || text.isEmpty())
        return;
    const int length = text.at(0).unicode();
    QString marker = text.mid(1, length);
    if (marker.endsWith(QLatin1Char(';')) && marker.size() > length)
        marker.chop(1);
    m_lists.last().levels.last().text = marker;
}

void RTFListTable::setLevelSymbolFont(int font)
{
    if (!m_lists.isEmpty() && !m_lists.last().levels.isEmpty())
        m_lists.last().levels.last().symbolFont = font;
}

void RTFListTable::beginOverride()
{
    m_inOverride = true;
    if (m_overrides.size() < 10000)
        m_overrides.append(Override());
}

void RTFListTable::setOverrideNumber(int number)
{
    if (!m_overrides.isEmpty()) {
        m_overrides.last().number = number;
        m_overrideLists.insert(number, m_overrides.last().listId);
    }
}

const RTFListTable::List *RTFListTable::listOfOverride(int number)
{
    const auto listId = m_overrideLists.constFind(number);
    if (listId == m_overrideLists.constEnd())
        return nullptr;
    const auto index = m_listIndex.constFind(listId.value());
    return index == m_listIndex.constEnd() ? nullptr : &m_lists[index.value()];
}

QString RTFListTable::nextMarker(int number, int level)
{
    if (level < 0 || level >= maxLevels)
        return {};
    const List *list = listOfOverride(number);
    if (!list || level >= list->levels.size())
        return {};
    QList<int> &counters = m_counters[number];
    if (counters.isEmpty())
        counters.fill(0, maxLevels);
    // A level counts on from its last number; the levels below it start again.
    counters[level] = counters[level] == 0 ? list->levels[level].start : counters[level] + 1;
    for (int deeper = level + 1; deeper < maxLevels; ++deeper)
        counters[deeper] = 0;
    const Level &own = list->levels[level];
    QString marker;
    for (const QChar c : own.text) {
        const int placeholder = c.unicode();
        if (placeholder < maxLevels) {
            if (placeholder < list->levels.size())
                marker += formatted(qMax(counters[placeholder], list->levels[placeholder].start),
                                    list->levels[placeholder].format);
        } else if (own.symbolFont != 0) {
            marker += RTFSymbolFonts::mapCharacter(c.unicode(), RTFSymbolFonts::Font(own.symbolFont));
        } else {
            marker += c;
        }
    }
    return marker;
}
