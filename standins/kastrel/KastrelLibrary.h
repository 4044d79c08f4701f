// The library a Kastrel stand-in serves: a folder holding the manifest "library.json" and the
// content files it names. Loaded once at start-up and indexed by position, so that every
// scripting request is answered without searching.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>
#include <array>
#include <optional>

namespace Standin {

// The seven kinds, in the order of the application's item elements.
enum class KastrelItemKind { Note, Bookmark, SerialNumber, Password, Image, PdfArchive, WebArchive };
inline constexpr int KastrelItemKindCount = 7;

// What an item does when asked to export itself: the fault tests need an item that writes
// nothing and one that takes the whole application down with it.
enum class KastrelExportBehavior { Normal, Fails, Quits };

struct KastrelItem
{
    KastrelItemKind kind = KastrelItemKind::Note;
    QString id;
    std::optional<QString> name;
    QString comments;
    std::optional<double> creationDate; // seconds since 1970 UTC
    std::optional<double> modificationDate;
    int label = -1; // index into labels(), -1 for none
    QVector<int> tags; // indexes into tagNames()
    std::optional<bool> encrypted;
    std::optional<QString> password;
    std::optional<QString> location;
    QString file; // absolute path of the content file or package; empty when there is none
    QString text; // the body of an item without a content file
    KastrelExportBehavior exportBehavior = KastrelExportBehavior::Normal;
    // Properties answered exactly as given, over whatever the item has: the values a real
    // source can send that the keys above cannot express (a date that is NaN, a string where
    // a truth value belongs, a label reference that leads nowhere).
    QVariantMap served;
};

struct KastrelFolderCollection
{
    QString id;
    QString name;
    QString comments;
    QVector<int> items;
};

struct KastrelTagCollection
{
    QString id;
    QString name;
    QString comments;
    std::optional<quint32> behavior; // four-character code
    QVector<int> tags;
};

struct KastrelLabel
{
    QString id;
    QString name;
    QString color; // as served: "rgb R G B A", "gray W A", "cmyk C M Y K A" or a colour keyword
};

class KastrelLibrary
{
public:
    static QString manifestFileName() { return QStringLiteral("library.json"); }

    // Reads <folder>/library.json; content paths in it are relative to the folder.
    [[nodiscard]] bool load(const QString &folder, QString *error = nullptr);
    [[nodiscard]] bool load(const QByteArray &manifest, const QString &folder, QString *error = nullptr);

    const QVector<KastrelItem> &items() const { return m_items; }
    const QVector<int> &itemsOfKind(KastrelItemKind kind) const { return m_itemsByKind[static_cast<int>(kind)]; }
    const QVector<KastrelFolderCollection> &folderCollections() const { return m_folderCollections; }
    const QVector<KastrelTagCollection> &tagCollections() const { return m_tagCollections; }
    const QVector<KastrelLabel> &labels() const { return m_labels; }
    // Every distinct tag name once, in order of first appearance.
    const QStringList &tagNames() const { return m_tagNames; }

    static std::optional<KastrelItemKind> kindFromName(const QString &name);
    static QString kindName(KastrelItemKind kind);
    // 'TgAl' packed big-endian; nullopt for text that is not four ASCII characters.
    static std::optional<quint32> fourCharCode(const QString &code);

private:
    int tagIndex(const QString &name);

    QVector<KastrelItem> m_items;
    std::array<QVector<int>, KastrelItemKindCount> m_itemsByKind;
    QVector<KastrelFolderCollection> m_folderCollections;
    QVector<KastrelTagCollection> m_tagCollections;
    QVector<KastrelLabel> m_labels;
    QStringList m_tagNames;
    QHash<QString, int> m_tagIndexByName;
};

} // namespace Standin
