// Bookmarks. Until the bookmark file writer is in, the stage takes no bookmark up.
#include "engine/KSImportOperation.h"

bool KSImportOperation::importBookmarks()
{
    return !isCancelled();
}
