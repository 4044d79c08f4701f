// What the tests see of an export operation beyond its results: the library as it is built,
// the state the run set up, and the stages and helpers themselves.
//
// Operations made with make() export as many items ahead as KI_TEST_EXPORT_WINDOW says (the
// exporters' tests run once with the default window and once with a window of 1, which asks
// for every export only at its item's turn).
#pragma once

#include "engine/KSImportOperation.h"

#include <QtGlobal>

struct KSImportOperationInspector
{
    // The window the tests run with.
    static int exportWindow()
    {
        bool ok = false;
        const int window = qEnvironmentVariableIntValue("KI_TEST_EXPORT_WINDOW", &ok);
        return ok && window > 0 ? window : KSImportOperation::DefaultExportWindow;
    }

    // Options from a map of keys to truth values, as the tests spell them: a kind whose key is
    // missing or not true is off, so an empty map selects nothing.
    static KSImportOptions options(const QVariantMap &map)
    {
        KSImportOptions options = KSImportOptions::none();
        for (const KSImportKind kind : KSImportOptions::allKinds())
            options.set(kind, map.value(KSImportOptions::keyOf(kind)).toBool());
        return options;
    }

    template<typename Pointer = std::unique_ptr<KSImportOperation>>
    static Pointer make(const QVariantMap &options = {}, std::shared_ptr<KSImportOperationDelegate> delegate = nullptr,
                        std::shared_ptr<ScriptingBackend> backend = nullptr)
    {
        Pointer operation(new KSImportOperation(KSImportOperationInspector::options(options), std::move(delegate),
                                                std::move(backend)));
        operation->m_exportWindow = exportWindow();
        return operation;
    }

    // Where the source stages the first item it exports of a kind that is staged (notes,
    // serial numbers, passwords, PDFs), for the tests' exports into `exportFolder`.
    static QString firstStagingFolder(const QString &exportFolder)
    {
        return exportFolder + (exportWindow() == 1 ? QStringLiteral("/TMP") : QStringLiteral("/TMP/1"));
    }

    static void setExportWindow(KSImportOperation &operation, int window) { operation.m_exportWindow = window; }

    // The library as it is built, as it will be written.
    static const OVPlist &libraryPlist(const KSImportOperation &operation)
    {
        return operation.library().propertyList();
    }
    // The library itself, for tests that build one up by hand.
    static KSLibraryFile &library(KSImportOperation &operation) { return operation.m_library; }
    static const KSImportOptions &importOptions(const KSImportOperation &operation)
    {
        return operation.importOptions();
    }
    static const std::shared_ptr<KSImportOperationDelegate> &delegate(const KSImportOperation &operation)
    {
        return operation.delegate();
    }
    static const std::shared_ptr<QIODevice> &logStream(const KSImportOperation &operation)
    {
        return operation.logStream();
    }
    static const std::optional<KastrelApplication> &kastrelApp(const KSImportOperation &operation)
    {
        return operation.kastrelApp();
    }
    static quint64 majorVersion(const KSImportOperation &operation) { return operation.majorVersion(); }

    static OVPlist::Array groupIdentifiersForDatabaseItem(KSImportOperation &operation, const KastrelDatabaseItem &item)
    {
        return operation.groupIdentifiersForDatabaseItem(item);
    }
    static QString tagsStringForDatabaseItem(KSImportOperation &operation, const KastrelDatabaseItem &item)
    {
        return operation.tagsStringForDatabaseItem(item);
    }
    static qint64 itemTypeForPDFAtPath(const QString &path) { return KSImportOperation::itemTypeForPDFAtPath(path); }

    // The note stage's conversion of one staged file into the note package at `notePath`, run
    // on the calling (main) thread: "converted", "originalFileAttached" or "notWritten", with
    // the reason in English for the last two.
    struct NoteConversionResult
    {
        QString outcome;
        QString reason;
    };
    static NoteConversionResult convertFileToNote(KSImportOperation &operation, const QString &stagedPath,
                                                  const QString &notePath, const QString &name)
    {
        const QVariantMap request {{QStringLiteral("originalPath"), stagedPath},
                                   {QStringLiteral("notePath"), notePath},
                                   {QStringLiteral("name"), name}};
        KSImportOperation::NoteConversion conversion;
        operation.convertFileToNoteOnMainThread(request, &conversion);
        switch (conversion.outcome) {
        case KSImportOperation::NoteConversion::Outcome::Converted:
            return {QStringLiteral("converted"), QString()};
        case KSImportOperation::NoteConversion::Outcome::OriginalFileAttached:
            return {QStringLiteral("originalFileAttached"), conversion.reason.english};
        case KSImportOperation::NoteConversion::Outcome::NotWritten:
            break;
        }
        return {QStringLiteral("notWritten"), conversion.reason.english};
    }
};
