// How the windows look on the person's desktop: the window icon, notes in the desktop's font
// and readable in light and dark palettes, a focus ring that can be seen, and alerts as wide
// as their text.
#include "AppTestSupport.h"
#include "app/AppController.h"
#include "app/KSAlert.h"
#include "app/KSApplicationIcon.h"
#include "app/KSFocusStyle.h"
#include "app/KSNotesAppearance.h"
#include "app/KSReadableColors.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextEdit>
#include <QtTest>

using namespace AppTestSupport;
using KSReadableColors::contrastRatio;

namespace {

QPalette lightPalette()
{
    QPalette palette = QApplication::style()->standardPalette();
    // Too light for the white background on purpose: the notes must darken it.
    palette.setColor(QPalette::Link, QColor(0x7f, 0xb8, 0xff));
    return palette;
}

struct Run
{
    QString text;
    QTextCharFormat format;
};

QList<Run> runsOf(const QTextDocument *document)
{
    QList<Run> runs;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            if (fragment.fragment().isValid() && !fragment.fragment().text().trimmed().isEmpty())
                runs.append({fragment.fragment().text(), fragment.fragment().charFormat()});
        }
    }
    return runs;
}

// The colour a run is drawn in: its own, or the view's text colour.
QColor drawnColor(const QTextCharFormat &format, const QPalette &palette)
{
    return format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color()
                                                            : palette.color(QPalette::Active, QPalette::Text);
}

void checkEveryRunReadable(QTextEdit *view)
{
    const QPalette palette = view->palette();
    const QColor background = palette.color(QPalette::Active, QPalette::Base);
    const QList<Run> runs = runsOf(view->document());
    QVERIFY(!runs.isEmpty());
    for (const Run &run : runs) {
        QVERIFY2(!run.format.hasProperty(QTextFormat::BackgroundBrush), qPrintable(run.text));
        const double ratio = contrastRatio(drawnColor(run.format, palette), background);
        QVERIFY2(ratio >= 4.5, qPrintable(QStringLiteral("%1:1 for \u201c%2\u201d").arg(ratio).arg(run.text.left(40))));
    }
}

} // namespace

class TestAppearance : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AlertRecorder> m_alerts;
    QFont m_desktopFont;

    // A view holding grey text, a link and a heading in a font and size of their own, as
    // rich text written elsewhere brings them.
    static void fillWithForeignLook(QTextEdit *view)
    {
        view->setHtml(QStringLiteral("<p style=\"font-family: Courier; font-size: 24pt\">Heading</p>"
                                     "<p style=\"font-family: Helvetica; font-size: 12pt; color: #5a5a5a; "
                                     "background: #eeeeee\">The log is in a grey paragraph. "
                                     "<a href=\"https://example.com/\" style=\"color: #2980b9\">a link</a></p>"));
    }

private slots:
    void initTestCase() { m_desktopFont = QApplication::font(); }
    void init() { m_alerts = std::make_unique<AlertRecorder>(); }
    void cleanup()
    {
        QApplication::setPalette(QApplication::style()->standardPalette());
        QApplication::setFont(m_desktopFont);
        m_alerts.reset();
    }

    void contrastRatioIsTheGuidelinesOne()
    {
        QCOMPARE(qRound(contrastRatio(Qt::black, Qt::white) * 100), 2100);
        QCOMPARE(contrastRatio(QColor(0x77, 0x77, 0x77), QColor(0x77, 0x77, 0x77)), 1.0);
        // #767676 on white is the classic grey that just passes.
        QVERIFY(contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white) >= 4.5);
        QVERIFY(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) < 4.5);
        const QColor fixed = KSReadableColors::readableOn(QColor(0x5a, 0x5a, 0x5a), QColor(0x31, 0x36, 0x3b));
        QVERIFY(contrastRatio(fixed, QColor(0x31, 0x36, 0x3b)) >= 4.5);
        QCOMPARE(KSReadableColors::readableOn(Qt::black, Qt::white), QColor(Qt::black));
    }

    void windowsTakeTheBundledIconWithoutATheme()
    {
        QIcon::setThemeSearchPaths({});
        KSApplicationIcon::install();
        AppController controller;
        const QIcon icon = controller.infoWindow()->windowIcon();
        QVERIFY(!icon.isNull());
        const QImage shown = icon.pixmap(48, 48).toImage();
        const QImage bundled(QStringLiteral(":/icons/kastrel-importer-48.png"));
        QVERIFY(!bundled.isNull());
        QCOMPARE(shown.size(), bundled.size());
        for (const QPoint &point : {QPoint(24, 24), QPoint(10, 30), QPoint(40, 12)})
            QCOMPARE(shown.pixelColor(point), bundled.pixelColor(point));
        QCOMPARE(QGuiApplication::desktopFileName(), QStringLiteral("com.orvantis.KastrelImporter"));
    }

    void windowsTakeTheThemesIconByTheDesktopEntrysName()
    {
        QTemporaryDir themes;
        const QString folder = themes.filePath(QStringLiteral("hicolor/48x48/apps"));
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(TestSupport::writeFile(themes.filePath(QStringLiteral("hicolor/index.theme")),
                                       "[Icon Theme]\nName=Hicolor\nDirectories=48x48/apps\n\n"
                                       "[48x48/apps]\nSize=48\nType=Fixed\n"));
        QVERIFY(TestSupport::writeFile(folder + QStringLiteral("/com.orvantis.KastrelImporter.png"),
                                       TestSupport::pngBytes(48, 48, QColor(200, 10, 20))));
        QIcon::setThemeSearchPaths({themes.path()});
        QIcon::setThemeName(QStringLiteral("hicolor"));
        KSApplicationIcon::install();
        AppController controller;
        const QImage shown = controller.infoWindow()->windowIcon().pixmap(48, 48).toImage();
        QCOMPARE(shown.pixelColor(24, 24), QColor(200, 10, 20));
        QIcon::setThemeSearchPaths({});
        KSApplicationIcon::install();
    }

    void notesFollowTheDesktopsFontAndSize()
    {
        QFont desktop(QStringLiteral("DejaVu Serif"));
        desktop.setPointSizeF(15);
        QApplication::setFont(desktop);
        AppController controller;
        controller.applicationWillFinishLaunching();
        QTextEdit *notes = controller.notesTextView();
        const QList<Run> runs = runsOf(notes->document());
        QVERIFY(runs.size() > 5);
        double largest = 0;
        int atBodySize = 0;
        for (const Run &run : runs) {
            QVERIFY2(!run.format.hasProperty(QTextFormat::FontFamilies)
                         && !run.format.hasProperty(QTextFormat::FontFamily),
                     qPrintable(run.text));
            QCOMPARE(QFontInfo(run.format.font().resolve(notes->document()->defaultFont())).family(),
                     QFontInfo(desktop).family());
            largest = qMax(largest, run.format.fontPointSize());
            if (qFuzzyCompare(run.format.fontPointSize(), 15.0))
                ++atBodySize;
        }
        QVERIFY2(atBodySize > runs.size() / 2, "the body text is at the desktop's size");
        QVERIFY2(largest > 15.0, "headings stay larger than the body");

        // A later change of the desktop's font reaches the notes.
        QFont larger = desktop;
        larger.setPointSizeF(20);
        QApplication::setFont(larger);
        const auto runsAtNewSize = [notes] {
            int count = 0;
            for (const Run &run : runsOf(notes->document()))
                count += qFuzzyCompare(run.format.fontPointSize(), 20.0) ? 1 : 0;
            return count;
        };
        QTRY_COMPARE(runsAtNewSize(), atBodySize);
    }

    void notesAreReadableInALightPalette()
    {
        QApplication::setPalette(lightPalette());
        AppController controller;
        controller.applicationWillFinishLaunching();
        checkEveryRunReadable(controller.notesTextView());
    }

    void notesAreReadableInADarkPalette()
    {
        QApplication::setPalette(darkPalette());
        AppController controller;
        controller.applicationWillFinishLaunching();
        checkEveryRunReadable(controller.notesTextView());
    }

    void notesStayReadableWhenThePaletteChanges()
    {
        QApplication::setPalette(lightPalette());
        AppController controller;
        controller.applicationWillFinishLaunching();
        QApplication::setPalette(darkPalette());
        checkEveryRunReadable(controller.notesTextView());
        QApplication::setPalette(lightPalette());
        checkEveryRunReadable(controller.notesTextView());
    }

    void foreignColoursAndFontsGiveWayToThePalettes()
    {
        for (const QPalette &palette : {lightPalette(), darkPalette()}) {
            QTextEdit view;
            view.setPalette(palette);
            fillWithForeignLook(&view);
            KSNotesAppearance::follow(&view);
            checkEveryRunReadable(&view);
            const QColor background = palette.color(QPalette::Base);
            bool sawLink = false;
            for (const Run &run : runsOf(view.document())) {
                QVERIFY(!run.format.hasProperty(QTextFormat::FontFamilies));
                if (!run.format.isAnchor())
                    continue;
                sawLink = true;
                // The palette's link colour, made readable: the same hue, not the text colour.
                const QColor link = run.format.foreground().color();
                QCOMPARE(link, KSReadableColors::readableOn(palette.color(QPalette::Link), background));
                QVERIFY(link != palette.color(QPalette::Link));
            }
            QVERIFY(sawLink);
        }
    }

    void focusedButtonsShowARingThatCanBeSeen()
    {
        for (const QPalette &palette : {lightPalette(), darkPalette()}) {
            QApplication::setPalette(palette);
            AppController controller; // puts the ring on the default style
            QVERIFY(qobject_cast<KSFocusStyle *>(QApplication::style()));
            controller.applicationWillFinishLaunching();
            QVERIFY(QTest::qWaitForWindowActive(controller.infoWindow()));
            auto *quit = controller.infoWindow()->findChild<QPushButton *>(QStringLiteral("quitButton"));
            const QImage unfocused = quit->grab().toImage().convertToFormat(QImage::Format_RGB32);
            quit->setFocus(Qt::TabFocusReason);
            QVERIFY(quit->hasFocus());
            const QImage focused = quit->grab().toImage().convertToFormat(QImage::Format_RGB32);
            QCOMPARE(focused.size(), unfocused.size());

            // Along the middle row, from the left edge inwards: the ring stands out from what
            // the same place shows without focus.
            const int row = focused.height() / 2;
            int ringPixels = 0;
            for (int x = 0; x < 6; ++x) {
                const QColor before = unfocused.pixelColor(x, row);
                const QColor after = focused.pixelColor(x, row);
                if (contrastRatio(after, palette.color(QPalette::Window)) >= 3.0 && after != before)
                    ++ringPixels;
            }
            QVERIFY2(ringPixels >= 2, "a ring at least two pixels wide");
            QVERIFY(contrastRatio(KSFocusStyle::ringColor(palette), palette.color(QPalette::Window)) >= 3.0);
        }
    }

    void alertsAreAsWideAsTheirText()
    {
        KSAlert alert;
        alert.messageText = QStringLiteral("No types selected!");
        alert.informativeText = QStringLiteral("Select at least one type of Kastrel item to import and try again.");
        const auto box = alert.messageBox();
        box->show();
        QVERIFY(QTest::qWaitForWindowExposed(box.get()));
        auto *informative = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"));
        QVERIFY(informative);
        const int oneLine = informative->fontMetrics().horizontalAdvance(alert.informativeText);
        QVERIFY2(informative->width() >= oneLine,
                 qPrintable(QStringLiteral("%1 px for a line of %2 px").arg(informative->width()).arg(oneLine)));
        saveScreenshot(box.get(), QStringLiteral("alert-no-types-selected"));
        const QMargins margins = informative->contentsMargins();
        const int textHeight = informative->heightForWidth(informative->width()) - margins.top() - margins.bottom();
        QVERIFY2(textHeight < 2 * informative->fontMetrics().lineSpacing(), "one line");
        QVERIFY(box->width() > oneLine);
    }

    void longAlertTextsStillWrap()
    {
        KSAlert alert;
        alert.messageText = QStringLiteral("An error occurred while exporting.");
        alert.informativeText = QString(QStringLiteral("A reason that goes on and on. ")).repeated(30);
        const auto box = alert.messageBox();
        box->show();
        QVERIFY(QTest::qWaitForWindowExposed(box.get()));
        auto *informative = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"));
        QVERIFY(informative->width() < informative->fontMetrics().horizontalAdvance(alert.informativeText) / 4);
        QVERIFY(informative->heightForWidth(informative->width()) > 3 * informative->fontMetrics().lineSpacing());
    }
};

QTEST_MAIN(TestAppearance)
#include "TestAppearance.moc"
