// Reading and writing the clip's XML: loading a sidecar with its error reports, a new
// LIBRARY_ITEM node, single child elements, and the text forms of values.
#pragma once

#include "Platform/Xml/XmlDocumentHelpers.h"
#include "qm/Platform/Kernel/FileTime.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <cstdint>

namespace Quillmar::Library::Native
{
// The largest sidecar that is read; anything bigger is no sidecar this system wrote.
constexpr std::uint64_t kMaxSidecarBytes = 256ull << 20;

// Loads a sidecar and gives its LIBRARY_ITEM node, with FILE_NAME appended holding the
// media path it was loaded for. A file that cannot be read or parsed is logged and
// gives E_FAIL; one that is no regular file gives HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE),
// one larger than kMaxSidecarBytes HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), both without
// reading it.
HRESULT LoadItemNode(wstring_view mediaPath, wstring_view sidecarPath, IXMLDOMNode** ppXMLNode);
// A new document whose root LIBRARY_ITEM holds NAME, ID (a new one for a zero id),
// VERSION "2.0" with subversion 1, FILE_NAME if asked, and THUMBNAIL_INDEX "0" for a
// video (kind 1), in this order.
HRESULT CreateItemNode(IXMLDOMNode** ppItem, wstring_view mediaPath, int kind, const GUID& id, bool withFileName);
// Appends a new element with the text; nothing is tested for an element of that name.
HRESULT AppendTextElement(IXMLDOMNode* pParentNode, wstring_view nodeName, wstring_view value,
                          IXMLDOMNode** ppNode = nullptr);
// S_FALSE and value unchanged when there is no such child.
HRESULT ReadElementText(IXMLDOMNode* pParentNode, wstring_view elementName, wstring& value);
// S_FALSE when there is no such child.
HRESULT RemoveElement(IXMLDOMNode* pParentNode, wstring_view elementName);
// Sets the text of TYPE to kind, making the element if it is missing.
HRESULT WriteTypeElement(IXMLDOMNode* pParentNode, int kind);

// Text forms of values in element text and attributes.
wstring FormatInt64Text(std::int64_t value);
// The leading number of the text ("%I64d"); false, and value unchanged, when there is none.
bool ScanInt64Text(wstring_view text, std::int64_t& value);
// An attribute converted to a 64- or 32-bit integer; a missing attribute gives S_FALSE,
// a conversion failure its result, and value is unchanged then.
HRESULT ReadInt64Attribute(IXMLDOMElement* element, wstring_view name, std::int64_t& value);
HRESULT ReadInt32Attribute(IXMLDOMElement* element, wstring_view name, std::int32_t& value);
// The absolute time form of a UTC file time: "2020.01.02T03:04:05.678". The reader drops
// blanks, "-", ":" and "." first, and needs at least the six fields down to the second;
// E_FAIL, and time unchanged, otherwise.
wstring FormatAbsoluteTime(const FILETIME& time);
HRESULT ParseAbsoluteTime(wstring_view text, FILETIME& time);
// "yes" or "no"; only "yes", exactly, reads as true.
wstring FormatYesNo(bool value);
bool IsYes(wstring_view text);
} // namespace Quillmar::Library::Native
