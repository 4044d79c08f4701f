// Checks a library interchange file before anything of it is imported: the three top-level
// keys, the six entity tables, every record's keys, types and constants, identifiers equal
// to their table keys, item files present on disk, and every reference between records
// (items to labels and groups, smart groups to rule sets to rule values and back).
// Any input is safe to hand in: it never crashes on a malformed tree, which is what the
// fuzzer checks.
#pragma once

#include "foundation/OVPlist.h"

#include <QJsonObject>
#include <QList>
#include <QString>

namespace Standin {

struct NortavelLibraryProblem
{
    QString table; // entity table; empty for the top level
    QString identifier; // record key in the table; empty for a table or the top level
    QString key; // the record's key the problem is about; may be empty
    QString message;

    QJsonObject toJson() const;
    QString toString() const; // "Item/N-1 label: ..."
};

class NortavelLibraryValidator
{
public:
    // The six tables in the order the exporter creates them.
    static const QStringList &tableNames();

    // `libraryFilePath`, when given, is where the file was read from: the folder to remove on
    // completion must then be the folder holding it.
    explicit NortavelLibraryValidator(QString libraryFilePath = QString());

    // Whether item files are looked for on disk (on by default; a fuzzer turns it off).
    void setChecksFiles(bool checks) { m_checksFiles = checks; }

    // True when the library may be imported: no problems. Warnings never refuse it.
    bool validate(const OVPlist &library);
    // Reads the property list first; a file that is none is one problem.
    bool validate(const QByteArray &data);

    const QList<NortavelLibraryProblem> &problems() const { return m_problems; }
    // References the target tolerates: group members that were not exported.
    const QList<NortavelLibraryProblem> &warnings() const { return m_warnings; }
    // Problems beyond the first thousand are counted, not kept.
    int omittedProblemCount() const { return m_omittedProblems; }

private:
    void problem(const QString &table, const QString &identifier, const QString &key, const QString &message);
    void warning(const QString &table, const QString &identifier, const QString &key, const QString &message);

    void checkTopLevel(const OVPlist &library);
    void checkRecords(const QString &table, const OVPlist &records);
    void checkRecord(const QString &table, const QString &identifier, const OVPlist &record);
    void checkReferences(const OVPlist &entities);
    void checkItemFile(const QString &identifier, const OVPlist &record);
    void checkKeyedArchiveOfString(const QString &identifier, const OVPlist &data);

    QString m_libraryFilePath;
    QString m_exportFolder; // from "RemoveFileOnCompletion", when it names one
    bool m_checksFiles = true;
    QList<NortavelLibraryProblem> m_problems;
    QList<NortavelLibraryProblem> m_warnings;
    int m_omittedProblems = 0;
};

} // namespace Standin
