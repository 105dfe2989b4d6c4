// Creating and loading documents with the properties every reader of the system uses:
// synchronous, no validation, nothing external resolved.
#pragma once

#include "qm/Platform/Xml/XmlDom.h"

struct IStream;

// E_POINTER for a null out-parameter; else the document, or the result of the first
// step that failed. freeThreaded selects the free-threaded class, which is not offered.
HRESULT CreateDocument(IXMLDOMDocument** ppDocument, bool freeThreaded);
// E_UNEXPECTED for a null ppDocument. A stream that is no well-formed document gives
// E_FAIL, and its parse error when ppError is given.
HRESULT LoadDocumentFromStream(IStream* stream, IXMLDOMDocument** ppDocument, IXMLDOMParseError** ppError,
                               bool freeThreaded);
// As LoadDocumentFromStream, on a file opened for reading; a missing file gives
// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND).
HRESULT LoadDocumentFromFile(wstring_view path, IXMLDOMDocument** ppDocument, IXMLDOMParseError** ppError,
                             bool freeThreaded);
