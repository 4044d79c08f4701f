// The lists of an RTF document as its list table defines them, for paragraphs whose writer did
// not render their marker as text: each level's number format and marker text, the overrides
// that paragraphs name with \ls, and the running numbers.
#pragma once

#include <QHash>
#include <QList>
#include <QString>

class RTFListTable
{
public:
    // Building the table while reading \listtable and \listoverridetable.
    void beginList();
    void setListId(int id); // of the list or the override begun last
    void beginLevel();
    void setLevelFormat(int format); // \levelnfc
    void setLevelStart(int start); // \levelstartat
    void setLevelText(const QString &text); // \leveltext as read: a length, then characters
    void setLevelSymbolFont(int font); // RTFSymbolFonts::Font of the level's \f, 0 for none
    void beginOverride();
    void setOverrideNumber(int number);

    bool isEmpty() const { return m_lists.isEmpty(); }

    // The marker of the next paragraph of list override `number` at `level`, counting it; an
    // empty string when the table defines no such list or level.
    QString nextMarker(int number, int level);

private:
    struct Level
    {
        int format = 0;
        int start = 1;
        QString text;
        int symbolFont = 0;
    };
    struct List
    {
        int id = 0;
        QList<Level> levels;
    };
    struct Override
    {
        int listId = 0;
        int number = 0;
    };

    // Looked up once per list paragraph, so by hash: a damaged file may hold thousands.
    const List *listOfOverride(int number);

    QList<List> m_lists;
    QList<Override> m_overrides;
    bool m_inOverride = false;
    // Later entries win, as they would read over earlier ones.
    QHash<int, qsizetype> m_listIndex; // by list id
    QHash<int, int> m_overrideLists; // list id by override number
    QHash<int, QList<int>> m_counters; // by override number, one per level
};
