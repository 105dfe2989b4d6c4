// The extensions of a clip: found by type GUID, read from the node on first use, added,
// replaced and removed; and the audio annotation, which is a link of the marker.
#include "qm/Library/CLibraryItem.h"

#include "DataAccess/Library/MDExtensionFactory.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/FileApi.h"
#include "Platform/Kernel/Path.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kAudioAnnotation = u"AudioAnnotation";

bool SameObject(IUnknown* a, IUnknown* b)
{
    ComPtr<IUnknown> first, second;
    if (a)
        a->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(first.GetAddressOf()));
    if (b)
        b->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(second.GetAddressOf()));
    return first.Get() == second.Get();
}
} // namespace

HRESULT CLibraryItem::FindExtension(REFGUID type, ComPtr<IMDExtension>& extension)
{
    for (const auto& candidate : m_extensions)
        if (candidate->GetExtensionType() == type)
        {
            extension = candidate;
            return S_OK;
        }
    extension.Reset();
    return S_FALSE;
}

HRESULT CLibraryItem::GetExtension(REFGUID type, REFIID iid, void** ppv)
{
    QMCheckCondition(ppv != 0, E_POINTER);
    ComPtr<IMDExtension> extension;
    if (FindExtension(type, extension) == S_OK)
        return extension->QueryInterface(iid, ppv);
    const HRESULT loaded = EnsureLoaded();
    if (FAILED(loaded))
        return loaded;
    if (!m_node)
        return S_FALSE;
    const HRESULT hr = MDExtensionFactory::LoadExtension(m_node.Get(), this, type, extension.GetAddressOf());
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return S_FALSE;
    m_extensions.push_back(extension);
    return extension->QueryInterface(iid, ppv);
}

// Asked for in order to write: the clip loads first, so that the extension handed out is
// the one its file gives, not one that the load would replace.
HRESULT CLibraryItem::GetOrCreateExtension(REFGUID type, REFIID iid, void** ppv)
{
    QMCheckHRESULT(LoadForWrite());
    const HRESULT found = GetExtension(type, iid, ppv);
    QMCheckHRESULT(found);
    if (found == S_OK)
        return S_OK;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    ComPtr<IMDExtension> extension;
    QMCheckHRESULT(MDExtensionFactory::CreateExtension(type, extension.GetAddressOf()));
    QMCheckHRESULT(extension->QueryInterface(iid, ppv));
    m_extensions.push_back(std::move(extension));
    return S_OK;
}

HRESULT CLibraryItem::AddExtension(IMDExtension* pExtension)
{
    QMCheckCondition(pExtension != 0, E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    const GUID type = pExtension->GetExtensionType();
    for (auto it = m_extensions.begin(); it != m_extensions.end(); ++it)
    {
        if ((*it)->GetExtensionType() != type)
            continue;
        if (SameObject(it->Get(), pExtension))
            return S_OK;
        ComPtr<IPersistMDExtension> persister;
        if (SUCCEEDED(it->As(&persister)) && m_node)
            QMLogHRESULT(persister->Delete(m_node.Get(), this));
        m_extensions.erase(it);
        break;
    }
    m_extensions.emplace_back(pExtension);
    return S_OK;
}

HRESULT CLibraryItem::RemoveExtension(IMDExtension* pExtension)
{
    QMCheckCondition(pExtension != 0, E_INVALIDARG);
    const HRESULT loaded = EnsureLoaded();
    if (FAILED(loaded))
        return loaded;
    const GUID type = pExtension->GetExtensionType();
    std::erase_if(m_extensions, [&](const ComPtr<IMDExtension>& e) { return e->GetExtensionType() == type; });
    ComPtr<IPersistMDExtension> persistExtension;
    pExtension->QueryInterface(IID_IPersistMDExtension, reinterpret_cast<void**>(persistExtension.GetAddressOf()));
    QMCheckCondition(persistExtension != 0, E_NOINTERFACE);
    QMCheckHRESULT(persistExtension->Delete(m_node.Get(), this));
    return S_OK;
}

std::optional<wstring> CLibraryItem::get_AudioAnnotationPath()
{
    ComPtr<IMDLibraryItemLink> link;
    const HRESULT hr =
        GetExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink, reinterpret_cast<void**>(link.GetAddressOf()));
    if (!QMReportCondition(SUCCEEDED(hr)) || hr != S_OK)
        return std::nullopt;
    const auto paths = link->GetLinkedPaths(kAudioAnnotation);
    if (paths.empty())
        return std::nullopt;
    return paths.front();
}

HRESULT CLibraryItem::put_AudioAnnotationPath(LPCWSTR path)
{
    m_audioAnnotationDuration.reset();
    ComPtr<IMDLibraryItemLink> link;
    QMCheckHRESULT(
        GetOrCreateExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink, reinterpret_cast<void**>(link.GetAddressOf())));
    QMCheckHRESULT(link->RemoveLink(kAudioAnnotation));
    QMCheckHRESULT(link->AddLinkedPath(kAudioAnnotation, path ? wstring(path) : wstring(), std::nullopt));
    return S_OK;
}

HRESULT CLibraryItem::RemoveAudioAnnotation()
{
    m_audioAnnotationDuration.reset();
    ComPtr<IMDLibraryItemLink> link;
    const HRESULT hr =
        GetExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink, reinterpret_cast<void**>(link.GetAddressOf()));
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return S_FALSE;
    const auto paths = link->GetLinkedPaths(kAudioAnnotation);
    if (paths.empty())
        return S_FALSE;
    QMCheckHRESULT(link->RemoveLink(kAudioAnnotation));
    for (const wstring& file : paths)
        if (PathFileExistsW(file))
            DeleteFileW(file.c_str());
    return S_OK;
}

// Reading the duration of an audio file needs the media engine, which no build binds yet.
std::optional<std::int64_t> CLibraryItem::get_AudioAnnotationDuration() { return m_audioAnnotationDuration; }
} // namespace Quillmar::Library::Native
