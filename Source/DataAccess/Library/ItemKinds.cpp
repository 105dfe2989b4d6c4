#include "DataAccess/Library/ItemKinds.h"

#include "Platform/Kernel/Path.h"
#include "qm/Platform/Text/CaseFolding.h"
#include "qm/Library/LibraryItem.h"

#include <array>
#include <utility>

namespace Quillmar::Library::Native
{
namespace
{
constexpr std::array<std::pair<wstring_view, std::int32_t>, 20> kKinds{{
    {u".mpg", ItemKindVideo},
    {u".mpeg", ItemKindVideo},
    {u".mod", ItemKindVideo},
    {u".tod", ItemKindVideo},
    {u".ts", ItemKindVideo},
    {u".mts", ItemKindVideo},
    {u".m2t", ItemKindVideo},
    {u".m2ts", ItemKindVideo},
    {u".mp4", ItemKindVideo},
    {u".m4v", ItemKindVideo},
    {u".mov", ItemKindVideo},
    {u".f4v", ItemKindVideo},
    {u".playerproject", ItemKindPlayerProject},
    {u".vandroproject", ItemKindVandroProject},
    {u".duvelrayproject", ItemKindDuvelrayProject},
    {u".storyboard", ItemKindStoryboard},
    {u".swf", ItemKindFlash},
    {u".qpa", ItemKindFlash},
    {u".qmp", ItemKindPackage},
    {u".notebook", ItemKindNotebook},
}};
} // namespace

std::int32_t ItemKindOfExtension(wstring_view extension)
{
    for (const auto& [text, kind] : kKinds)
        if (qm::EqualsNoCase(extension, text))
            return kind;
    return ItemKindUnknown;
}

std::int32_t ItemKindOfPath(wstring_view path) { return ItemKindOfExtension(PathFindExtensionW(path)); }

wstring SidecarPathOf(wstring_view mediaPath, std::int32_t kind)
{
    wstring sidecar(mediaPath);
    if (kind != ItemKindNotebook)
        sidecar += u".quilclip";
    return sidecar;
}

wstring SidecarPathOf(wstring_view mediaPath) { return SidecarPathOf(mediaPath, ItemKindOfPath(mediaPath)); }
} // namespace Quillmar::Library::Native
