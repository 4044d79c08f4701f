#include "app/AppController.h"

#include "app/KSApplicationTermination.h"
#include "app/KSImportPanel.h"
#include "app/KSInterfaceTexts.h"
#include "app/KSOptionsPanel.h"
#include "cli/KSImportOptions.h"
#include "formats/RichTextReader.h"
#include "ui_MainWindow.h"

#include <QFile>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>
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
    m_importOptions = KSImportOptions::allOptions(true);

    m_ui->setupUi(m_infoWindow.get());
    KSInterfaceTexts::localize(m_infoWindow.get());
    connect(m_ui->importButton, &QPushButton::clicked, this, &AppController::import);
    connect(m_ui->optionsButton, &QPushButton::clicked, this, &AppController::showOptions);
    connect(m_ui->quitButton, &QPushButton::clicked, this, &AppController::cancel);
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
        OVError error;
        if (RichTextReader::read(&notes, document, QStringLiteral("Notes.rtf"), nullptr, &error))
            notesTextView()->setDocument(document);
        else
            qWarning() << "The notes could not be read:" << error.localizedDescription;
    }

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
    if (!m_importPanel)
        m_importPanel = std::make_unique<KSImportPanel>(m_infoWindow.get(), m_backend);
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
        qInfo("Import options are: %s", qPrintable(KSImportOptions::description(m_importOptions)));
    });
}

void AppController::cancel()
{
    KSApplicationTermination::terminate();
}
