#include "engine/KSImportOptions.h"

#include <QMap>

namespace {

struct KindKey
{
    KSImportKind kind;
    const char *key;
};

// The one place the keys are spelled; their order is the order options are made and shown
// in lists.
constexpr KindKey kindKeys[KSImportOptions::kindCount] = {
    {KSImportKind::Notes, "notes"},
    {KSImportKind::Bookmarks, "bookmarks"},
    {KSImportKind::SerialNumbers, "serialNumbers"},
    {KSImportKind::Passwords, "passwords"},
    {KSImportKind::Images, "images"},
    {KSImportKind::PDFs, "PDFs"},
    {KSImportKind::WebArchives, "webArchives"},
};

} // namespace

const std::array<KSImportKind, KSImportOptions::kindCount> &KSImportOptions::allKinds()
{
    static const std::array<KSImportKind, kindCount> kinds = [] {
        std::array<KSImportKind, kindCount> list {};
        for (int index = 0; index < kindCount; ++index)
            list[size_t(index)] = kindKeys[index].kind;
        return list;
    }();
    return kinds;
}

QString KSImportOptions::keyOf(KSImportKind kind)
{
    for (const KindKey &entry : kindKeys) {
        if (entry.kind == kind)
            return QLatin1String(entry.key);
    }
    return QString();
}

std::optional<KSImportKind> KSImportOptions::kindForKey(const QString &key)
{
    for (const KindKey &entry : kindKeys) {
        if (key == QLatin1String(entry.key))
            return entry.kind;
    }
    return std::nullopt;
}

QStringList KSImportOptions::allKeys()
{
    QStringList keys;
    for (const KindKey &entry : kindKeys)
        keys.append(QLatin1String(entry.key));
    return keys;
}

QStringList KSImportOptions::selectedKeys() const
{
    QStringList keys;
    for (const KSImportKind kind : allKinds()) {
        if (contains(kind))
            keys.append(keyOf(kind));
    }
    return keys;
}

std::optional<KSImportOptions> KSImportOptions::fromKeys(const QStringList &keys)
{
    KSImportOptions options = none();
    for (const QString &key : keys) {
        const std::optional<KSImportKind> kind = kindForKey(key);
        if (!kind)
            return std::nullopt;
        options.set(*kind, true);
    }
    return options;
}

KSImportOptions KSImportOptions::none()
{
    KSImportOptions options;
    options.m_selected = 0;
    return options;
}

void KSImportOptions::set(KSImportKind kind, bool selected)
{
    if (selected)
        m_selected |= bit(kind);
    else
        m_selected &= ~bit(kind);
}

QString KSImportOptions::description() const
{
    // A dictionary prints its entries sorted by key, capitals first ("PDFs" before "bookmarks").
    QMap<QString, bool> sorted;
    for (const KindKey &entry : kindKeys)
        sorted.insert(QLatin1String(entry.key), contains(entry.kind));
    QString text = QStringLiteral("{\n");
    for (auto entry = sorted.cbegin(); entry != sorted.cend(); ++entry)
        text += QStringLiteral("    %1 = %2;\n").arg(entry.key(), QString::number(entry.value() ? 1 : 0));
    return text + QLatin1Char('}');
}
