#include "app/KSNotesAppearance.h"

#include "app/KSReadableColors.h"

#include <QEvent>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <utility>
#include <vector>

namespace {

// The body size the notes are written in; their headings are sized against it.
constexpr double WrittenBodyPointSize = 12.0;

// Where a run keeps its size relative to the body text, so a later font change scales it anew.
constexpr int RelativeSizeProperty = QTextFormat::UserProperty + 1;

double relativeSize(const QTextCharFormat &format)
{
    if (format.hasProperty(RelativeSizeProperty))
        return format.doubleProperty(RelativeSizeProperty);
    if (format.hasProperty(QTextFormat::FontPointSize) && format.fontPointSize() > 0)
        return format.fontPointSize() / WrittenBodyPointSize;
    return 1.0;
}

} // namespace

KSNotesAppearance::KSNotesAppearance(QTextEdit *view)
    : QObject(view)
{ }

void KSNotesAppearance::follow(QTextEdit *view)
{
    apply(view);
    view->installEventFilter(new KSNotesAppearance(view));
}

bool KSNotesAppearance::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        apply(static_cast<QTextEdit *>(watched));
    return QObject::eventFilter(watched, event);
}

void KSNotesAppearance::apply(QTextEdit *view)
{
    QTextDocument *document = view->document();
    const QFont font = view->font();
    const double bodySize = font.pointSizeF() > 0 ? font.pointSizeF() : WrittenBodyPointSize;
    const QPalette palette = view->palette();
    const QColor background = palette.color(QPalette::Active, QPalette::Base);
    const QColor text = KSReadableColors::readableOn(palette.color(QPalette::Active, QPalette::Text), background);
    const QColor link = KSReadableColors::readableOn(palette.color(QPalette::Active, QPalette::Link), background);

    document->setDefaultFont(font);
    // Gathered first: changing a run's format merges and splits the runs being walked.
    struct Run
    {
        int position;
        int length;
        QTextCharFormat format;
    };
    std::vector<Run> runs;
    std::vector<std::pair<int, QTextBlockFormat>> blocks;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat blockFormat = block.blockFormat();
        if (blockFormat.hasProperty(QTextFormat::BackgroundBrush)) {
            blockFormat.clearBackground();
            blocks.emplace_back(block.position(), blockFormat);
        }
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            const QTextFragment run = fragment.fragment();
            if (!run.isValid())
                continue;
            QTextCharFormat format = run.charFormat();
            const double relative = relativeSize(format);
            format.clearProperty(QTextFormat::FontFamily);
            format.clearProperty(QTextFormat::FontFamilies);
            format.setProperty(RelativeSizeProperty, relative);
            format.setFontPointSize(bodySize * relative);
            format.clearBackground();
            format.setForeground(format.isAnchor() ? link : text);
            runs.push_back({run.position(), run.length(), format});
        }
    }

    QTextCursor cursor(document);
    cursor.beginEditBlock();
    for (const auto &[position, format] : blocks) {
        cursor.setPosition(position);
        cursor.setBlockFormat(format);
    }
    for (const Run &run : runs) {
        cursor.setPosition(run.position);
        cursor.setPosition(run.position + run.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(run.format);
    }
    cursor.endEditBlock();
}
