// Opens a file or a folder with the desktop's application for it, and says so in an alert
// when the desktop cannot: a button that does nothing would leave the person guessing.
#pragma once

#include <QString>

class QWidget;

namespace KSDesktopOpen {

// Whether `path` names a file or folder that is there to be opened.
bool isThere(const QString &path);

// Asks the desktop to open `path`; when it cannot, an alert over `parent` names the path.
// Answers whether the desktop took it.
bool open(const QString &path, QWidget *parent = nullptr);

} // namespace KSDesktopOpen
