// Copies what a user entered on one clip to another.
#include "qm/Library/LibraryItemFactory.h"

#include "Logging/QMLog.h"

HRESULT CopyLibraryItemMetadata(ILibraryItem* pDstLibraryItem, ILibraryItem* pSrcLibraryItem, bool copyDataBlob)
{
    QMCheckCondition(pDstLibraryItem != nullptr, E_INVALIDARG);
    QMCheckCondition(pSrcLibraryItem != nullptr, E_INVALIDARG);
    ComPtr<ILibraryItemMarker> dst, src;
    pDstLibraryItem->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(dst.GetAddressOf()));
    pSrcLibraryItem->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(src.GetAddressOf()));
    if (dst && src)
    {
        dst->put_Title(src->get_Title());
        dst->put_Comment(src->get_Comment());
    }
    pDstLibraryItem->put_Color(pSrcLibraryItem->get_Color());
    for (const Keyword& keyword : pSrcLibraryItem->get_Keywords())
        pDstLibraryItem->AddKeyword(keyword);
    if (dst && src)
    {
        REFERENCE_TIME cue = 0;
        if (src->get_CueIn(&cue) == S_OK)
            dst->put_CueIn(cue);
        if (src->get_CueOut(&cue) == S_OK)
            dst->put_CueOut(cue);
    }
    if (copyDataBlob)
    {
        ComPtr<IMDDataBlob> blob;
        if (pSrcLibraryItem->GetExtension(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(blob.GetAddressOf())) == S_OK)
        {
            ComPtr<IMDExtension> clone;
            if (SUCCEEDED(blob->Clone(clone.GetAddressOf(), 1)))
                pDstLibraryItem->AddExtension(clone.Get());
        }
    }
    return S_OK;
}
