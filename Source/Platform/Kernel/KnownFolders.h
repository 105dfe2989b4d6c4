// The user's folders: the home folder and the XDG user directories, read at the time of
// each call so that a change of the environment is seen.
#pragma once

#include "qm/Platform/Types.h"

namespace qm
{
// The variable's value as a path; empty when it is unset, empty or not UTF-8.
wstring Environment(const char* name);
// The user's videos and documents folders: XDG_VIDEOS_DIR and XDG_DOCUMENTS_DIR of
// $XDG_CONFIG_HOME/user-dirs.dirs (~/.config without it), else ~/Videos and ~/Documents;
// empty without a home folder.
wstring UserVideosFolder();
wstring UserDocumentsFolder();
} // namespace qm
