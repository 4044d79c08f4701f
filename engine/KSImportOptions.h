// The export options: which kinds of source items a run exports. One table names the seven
// kinds and their keys; the application controller makes the options, the options sheet and
// the command line's --only edit them, and the engine's item stage reads them.
#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <optional>

enum class KSImportKind { Notes, Bookmarks, SerialNumbers, Passwords, Images, PDFs, WebArchives };

class KSImportOptions
{
public:
    static constexpr int kindCount = 7;

    // Every kind, in the order its key is made.
    static const std::array<KSImportKind, kindCount> &allKinds();
    // "notes", "bookmarks", "serialNumbers", "passwords", "images", "PDFs", "webArchives".
    static QString keyOf(KSImportKind kind);
    static std::optional<KSImportKind> kindForKey(const QString &key);
    static QStringList allKeys();

    // The keys of the selected kinds, in the order of allKinds(); and the options that select
    // the kinds of `keys`, nothing when one is not a kind's key.
    QStringList selectedKeys() const;
    static std::optional<KSImportOptions> fromKeys(const QStringList &keys);

    // Every kind selected, as a run exports by default.
    KSImportOptions() = default;
    // No kind selected.
    static KSImportOptions none();

    bool contains(KSImportKind kind) const { return (m_selected & bit(kind)) != 0; }
    void set(KSImportKind kind, bool selected);
    // True when no kind is selected: there is nothing to export.
    bool isEmpty() const { return m_selected == 0; }

    // The options as a dictionary's printed description, one "key = 1;" line per kind in the
    // order of the keys' text, the way the confirmation line shows them.
    QString description() const;

    bool operator==(const KSImportOptions &other) const { return m_selected == other.m_selected; }
    bool operator!=(const KSImportOptions &other) const { return !(*this == other); }

private:
    static constexpr unsigned bit(KSImportKind kind) { return 1u << static_cast<unsigned>(kind); }

    unsigned m_selected = (1u << kindCount) - 1;
};
