#include "app/AppController.h"

#include "app/KSAppLog.h"
#include "app/KSApplicationTermination.h"
#include "app/KSFocusStyle.h"
#include "app/KSImportPanel.h"
#include "app/KSInterfaceTexts.h"
#include "app/KSNotesAppearance.h"
#include "app/KSOptionsPanel.h"
#include "app/KSResumeQuestion.h"
#include "engine/KSImportOptions.h"
#include "formats/RichTextReader.h"
#include "ui_MainWindow.h"

#include <QEvent>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMainWindow>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QTextDocument>
#include <QtDebug>

// The resources live in a static library, so nothing would pull them into the executable
// unless asked to; this must be called outside any namespace.
static void initializeResources()
{
    Q_INIT_RESOURCE(KastrelImporter);
}

AppController::AppController(std::shared_ptr<ScriptingBackend> backend, QObject *parent)
    : QObject(parent)
    , m_backend(std::move(backend))
    , m_infoWindow(std::make_unique<QMainWindow>())
    , m_ui(std::make_unique<Ui::MainWindow>())
{
    initializeResources();
    KSFocusStyle::installOnDefaultStyle();
    m_ui->setupUi(m_infoWindow.get());
    KSInterfaceTexts::localize(m_infoWindow.get());
    connect(m_ui->importButton, &QPushButton::clicked, this, &AppController::import);
    connect(m_ui->optionsButton, &QPushButton::clicked, this, &AppController::showOptions);
    connect(m_ui->quitButton, &QPushButton::clicked, this, &AppController::cancel);

    // Return and Escape that no button took (the notes take neither) start the export and quit.
    m_infoWindow->installEventFilter(this);
    // Ctrl+Q wherever the application has the keyboard, sheets included.
    auto *quit = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), m_infoWindow.get());
    quit->setContext(Qt::ApplicationShortcut);
    connect(quit, &QShortcut::activated, this, &AppController::quitUnlessExporting);
}

AppController::~AppController() = default;

QTextEdit *AppController::notesTextView() const
{
    return m_ui->notesTextView;
}

void AppController::applicationWillFinishLaunching()
{
    QFile notes(QStringLiteral(":/Notes.rtf"));
    if (notes.exists()) {
        auto document = new QTextDocument(notesTextView()); // owned by the text view
        RichTextReader reader;
        if (reader.read(&notes, document, QStringLiteral("Notes.rtf")))
            notesTextView()->setDocument(document);
        else
            qCWarning(lcApp) << "The notes could not be read:" << reader.errorString();
    }
    KSNotesAppearance::follow(notesTextView());
    m_ui->importButton->setFocus(Qt::OtherFocusReason);

    QScreen *screen = m_infoWindow->screen() ? m_infoWindow->screen() : QGuiApplication::primaryScreen();
    if (screen) {
        m_infoWindow->setGeometry(
            QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, m_infoWindow->size(), screen->availableGeometry()));
    }
    m_infoWindow->show();
    m_infoWindow->raise();
    m_infoWindow->activateWindow();
}

void AppController::import()
{
    // An export that stopped unfinished can be continued rather than started over.
    const std::optional<KSResumeQuestion::UnfinishedExport> unfinished = KSResumeQuestion::find();
    const KSResumeQuestion::Answer answer
        = unfinished ? KSResumeQuestion::ask(m_infoWindow.get(), *unfinished) : KSResumeQuestion::Answer::StartOver;
    if (answer == KSResumeQuestion::Answer::Cancel)
        return;
    if (!m_importPanel)
        m_importPanel = std::make_unique<KSImportPanel>(m_infoWindow.get(), m_backend);
    m_importPanel->setResume(answer == KSResumeQuestion::Answer::Continue);
    // Continuing the earlier export means exporting its kinds: with others, it would be
    // refused and the application would quit.
    if (answer == KSResumeQuestion::Answer::Continue && unfinished->options
        && *unfinished->options != m_importOptions) {
        m_importOptions = *unfinished->options;
        qCInfo(lcApp, "Import options are: %s", qPrintable(m_importOptions.description()));
    }
    // Whatever the sheet's outcome, there is no second export in one run of the application.
    m_importPanel->showSheetOnWindow(m_infoWindow.get(), m_importOptions,
                                     [](int) { KSApplicationTermination::terminate(); });
}

void AppController::showOptions()
{
    if (!m_optionsPanel)
        m_optionsPanel = std::make_unique<KSOptionsPanel>(m_infoWindow.get());
    m_optionsPanel->showOptionsSheetOnWindow(m_infoWindow.get(), m_importOptions, [this](int returnCode) {
        if (returnCode != 1)
            return;
        m_importOptions = m_optionsPanel->importOptions();
        qCInfo(lcApp, "Import options are: %s", qPrintable(m_importOptions.description()));
    });
}

void AppController::cancel()
{
    KSApplicationTermination::terminate();
}

bool AppController::isExporting() const
{
    return m_importPanel && m_importPanel->isSheetShown();
}

void AppController::quitUnlessExporting()
{
    // A running export is stopped with its own Cancel button, which waits for the engine.
    if (!isExporting())
        cancel();
}

bool AppController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_infoWindow.get() && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->modifiers() & ~Qt::KeypadModifier)
            return false;
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            m_ui->importButton->click();
            return true;
        }
        if (key->key() == Qt::Key_Escape) {
            quitUnlessExporting();
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}
