// What the extensions may ask of the clip behind an ILibraryItem of this library.
#pragma once

#include "qm/Library/LibraryItem.h"

namespace Quillmar::Library::Native
{
// The clip's node after a flush, as get_NodePrivate gives it: E_NOINTERFACE for an item
// that is not one of this library's, E_UNEXPECTED when it has no node.
HRESULT GetItemNodePrivate(ILibraryItem* item, IXMLDOMNode** node);
} // namespace Quillmar::Library::Native
