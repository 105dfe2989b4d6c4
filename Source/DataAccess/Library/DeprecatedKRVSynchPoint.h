// The conversion of clips of the old layout: their SYNCH_POINT becomes a synch marker,
// and their tagged nested items become events, in place in the clip's XML.
#pragma once

#include "qm/Library/LibraryItem.h"

namespace Quillmar::Library::Native
{
class DeprecatedKRVSynchPoint
{
public:
    // Reads the synch point of the clip's node; E_FAIL when it has no valid position.
    HRESULT ReadLegacy(IXMLDOMNode* node);
    // Converts; the item must stand on pParentNode for the time of the call. S_FALSE and
    // nothing changed for a version other than "2.0" and "1.0".
    HRESULT Apply(IXMLDOMNode* pParentNode, ILibraryItem* item, const char16_t* version, BSTR* newVersion);

private:
    HRESULT MakeSynchMarker(ILibraryItem* item);
    static HRESULT ConvertTaggedItem(IXMLDOMNode* node);

    REFERENCE_TIME m_position = 0;
    ComPtr<IXMLDOMNode> m_node;
};
} // namespace Quillmar::Library::Native
