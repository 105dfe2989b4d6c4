// The text form of a repository's folders: a "LibraryRepository" document with a
// "Directory" element for each folder.
#include "DataAccess/Library/LibraryRepository.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Platform/Xml/XmlDocumentHelpers.h"
#include "Runtime/Guarded.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kRootName = u"LibraryRepository";

HRESULT ReadDirectories(IXMLDOMElement* root, std::vector<wstring>& directories)
{
    NodeList nodes;
    QMCheckHRESULT(SelectNodes(root, u"Directory", nodes));
    for (const ComPtr<IXMLDOMNode>& node : nodes)
    {
        ComPtr<IXMLDOMElement> element;
        std::optional<wstring> path;
        if (SUCCEEDED(AsElement(node.Get(), element)) && GetAttributeText(element.Get(), u"Path", path) == S_OK && path)
            directories.push_back(std::move(*path));
    }
    return S_OK;
}
} // namespace

HRESULT CLibraryRepository::LoadXmlText(BSTR xmlText)
{
    return qm::Guarded([&] { return LoadXmlTextUnguarded(xmlText); });
}

HRESULT CLibraryRepository::LoadXmlTextUnguarded(BSTR xmlText)
{
    ComPtr<IXMLDOMDocument> doc;
    QMCheckHRESULT(CreateDocument(doc.GetAddressOf(), false));
    VARIANT_BOOL success = VARIANT_FALSE;
    QMCheckCondition(SUCCEEDED(doc->loadXML(xmlText, &success)) && success == VARIANT_TRUE, E_FAIL);
    ComPtr<IXMLDOMElement> root;
    QMCheckCondition(SUCCEEDED(doc->get_documentElement(root.GetAddressOf())) && root != nullptr, E_FAIL);
    CComBSTR name;
    QMCheckHRESULT(root->get_nodeName(name.GetAddressOf()));
    QMCheckCondition(qm::BstrView(name) == kRootName, E_FAIL);
    std::optional<wstring> version;
    // Only the first three characters count: "1.05" is read, "2.0" is not.
    QMCheckCondition(GetAttributeText(root.Get(), u"Version", version) == S_OK && version && version->size() >= 3 &&
                         version->compare(0, 3, u"1.0") == 0,
                     E_FAIL);
    std::vector<wstring> directories;
    QMCheckHRESULT(ReadDirectories(root.Get(), directories));
    m_directories.clear();
    return SetDirectoriesUnguarded(std::move(directories));
}

HRESULT CLibraryRepository::SaveXmlText(BSTR* pXmlText)
{
    QMCheckCondition(pXmlText != nullptr, E_POINTER);
    *pXmlText = nullptr;
    return qm::Guarded([&] { return SaveXmlTextUnguarded(pXmlText); });
}

HRESULT CLibraryRepository::SaveXmlTextUnguarded(BSTR* pXmlText)
{
    ComPtr<IXMLDOMDocument> doc;
    QMCheckHRESULT(CreateDocument(doc.GetAddressOf(), false));
    QMCheckCondition(doc != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMElement> root;
    QMCheckHRESULT(CreateElement(doc.Get(), kRootName, root));
    QMCheckCondition(root != nullptr, E_UNEXPECTED);
    QMCheckHRESULT(SetAttribute(root.Get(), u"Version", CComVariant(u"1.0")));
    QMCheckHRESULT(doc->putref_documentElement(root.Get()));
    for (const wstring& folder : m_directories)
    {
        ComPtr<IXMLDOMElement> directory;
        QMCheckHRESULT(CreateElement(doc.Get(), u"Directory", directory));
        QMCheckHRESULT(SetAttribute(directory.Get(), u"Path", CComVariant(wstring_view(folder))));
        QMCheckHRESULT(root->appendChild(directory.Get(), nullptr));
    }
    return doc->get_xml(pXmlText);
}
} // namespace Quillmar::Library::Native
