// The icon of a bookmark and the checks of what a person types for one.
#include "documents/NVWebBookmarkEditing.h"

#include "foundation/OVLocalization.h"

#include <QColor>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QIcon>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>

namespace NVWebBookmarkEditing {

namespace {

// A quiet icon for when the desktop has none: a page with a folded corner and a globe, tinted by
// the extension so that the kinds stay apart. Drawn without fonts, so it works without a display.
QImage drawnIcon(const QString &extension)
{
    QImage image(NVWebBookmarkEditing::iconSize, NVWebBookmarkEditing::iconSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QColor tint = QColor::fromHsv(static_cast<int>(qHash(extension) % 360), 150, 200);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal size = NVWebBookmarkEditing::iconSize;
    const qreal fold = size * 0.22;
    QPainterPath page;
    page.moveTo(size * 0.15, size * 0.05);
    page.lineTo(size * 0.85 - fold, size * 0.05);
    page.lineTo(size * 0.85, size * 0.05 + fold);
    page.lineTo(size * 0.85, size * 0.95);
    page.lineTo(size * 0.15, size * 0.95);
    page.closeSubpath();
    painter.setPen(QPen(QColor(90, 90, 90), 2));
    painter.setBrush(QColor(250, 250, 250));
    painter.drawPath(page);

    const QRectF globe(size * 0.28, size * 0.35, size * 0.44, size * 0.44);
    painter.setPen(QPen(tint.darker(140), 2.5));
    painter.setBrush(tint);
    painter.drawEllipse(globe);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(globe.adjusted(globe.width() * 0.3, 0, -globe.width() * 0.3, 0));
    painter.drawLine(QPointF(globe.left(), globe.center().y()), QPointF(globe.right(), globe.center().y()));
    return image;
}

QImage themeIcon(const QString &extension)
{
    // Theme icons need the GUI application; a command-line run draws its own.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QImage();
    const QMimeType type
        = QMimeDatabase().mimeTypeForFile(QStringLiteral("bookmark.") + extension, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(type.genericIconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(QStringLiteral("text-html"));
    if (icon.isNull())
        return QImage();
    return icon.pixmap(NVWebBookmarkEditing::iconSize, NVWebBookmarkEditing::iconSize)
        .toImage()
        .scaled(NVWebBookmarkEditing::iconSize, NVWebBookmarkEditing::iconSize, Qt::IgnoreAspectRatio,
                Qt::SmoothTransformation);
}

} // namespace

QImage iconImage(const NVWebBookmarkFile &bookmark)
{
    const QString extension = NVWebBookmarkFile::fileExtensionForURL(bookmark.URL());
    const QImage icon = themeIcon(extension);
    return icon.isNull() ? drawnIcon(extension) : icon;
}

bool validateName(QString *name, OVError *error)
{
    if (!name || name->isEmpty()) {
        OVSetError(error, QLatin1String(errorDomain), ValidationError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "Bookmark name must not be empty.")));
        return false;
    }
    return true;
}

bool validateURL(QUrl *url, OVError *error)
{
    if (!url || url->isEmpty()) {
        OVSetError(error, QLatin1String(errorDomain), ValidationError,
                   OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "Bookmark URL must not be empty.")));
        return false;
    }
    // A web address needs at least the root path.
    if (url->scheme().startsWith(QLatin1String("http")) && url->path().isEmpty())
        *url = NVWebBookmarkFile::URLWithString(NVWebBookmarkFile::absoluteString(*url) + QLatin1Char('/'));
    return true;
}

QSet<QString> keyPathsForValuesAffectingIconImage()
{
    return {QStringLiteral("URL")};
}

} // namespace NVWebBookmarkEditing
