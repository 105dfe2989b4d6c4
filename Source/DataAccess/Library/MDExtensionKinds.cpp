// The one table of the extension kinds. Its order is the order of registration, and so
// the order of a new clip's extensions and of their nodes in its file.
#include "DataAccess/Library/MDAudioMatrix.h"
#include "DataAccess/Library/MDDataBlob.h"
#include "DataAccess/Library/MDDataSource.h"
#include "DataAccess/Library/MDExtensionFactory.h"
#include "DataAccess/Library/MDLibraryItemLink.h"
#include "DataAccess/Library/MDMediaSourceInfo.h"
#include "DataAccess/Library/MDOverlayDrawing.h"
#include "DataAccess/Library/MDProperties.h"

namespace Quillmar::Library::Native
{
namespace
{
struct Kind
{
    GUID type;
    wstring_view name;
    bool createOnLoad;
    HRESULT (*creator)(IMDExtension**);
};

const Kind kKinds[] = {
    {MDTYPE_AudioMatrix, details::CMDAudioMatrix::kNodeName, true, &details::CMDAudioMatrix::Create},
    {MDTYPE_DataSource, CMDDataSource::kNodeName, false, &CMDDataSource::Create},
    {MDTYPE_LibraryItemLink, CMDLibraryItemLink::kNodeName, true, &CMDLibraryItemLink::Create},
    {MDTYPE_OverlayDrawing, CMDOverlayDrawing::kNodeName, false, &CMDOverlayDrawing::Create},
    {MDTYPE_Properties, CMDProperties::kNodeName, true, &CMDProperties::Create},
    {MDTYPE_DataBlob, CMDDataBlob::kNodeName, false, &CMDDataBlob::Create},
    {MDTYPE_MediaSourceInfo, CMDMediaSourceInfo::kNodeName, true, &CMDMediaSourceInfo::Create},
};
} // namespace

bool RegisterExtensionKinds()
{
    for (const Kind& kind : kKinds)
        MDExtensionFactory::RegisterExtension(kind.type, kind.name, kind.createOnLoad, kind.creator);
    return true;
}
} // namespace Quillmar::Library::Native
