// One export at a time for each user: two runs would empty each other's export folder and
// write between each other's lines in the one log. The lock is an flock on a file in the
// user's runtime folder, so it goes with the process however that ends.
#pragma once

#include <QString>

class KSExportLock
{
public:
    KSExportLock() = default;
    ~KSExportLock();
    KSExportLock(const KSExportLock &) = delete;
    KSExportLock &operator=(const KSExportLock &) = delete;

    // Takes the lock without waiting. False when another export of this user holds it
    // (*otherExportRunning set) or the lock file cannot be used (*reason says why).
    bool tryLock(bool *otherExportRunning, QString *reason = nullptr);
    void unlock();

    // $XDG_RUNTIME_DIR/kastrel-importer-export.lock, or a file of the user's own in /tmp.
    static QString lockFilePath();

private:
    int m_file = -1;
};
