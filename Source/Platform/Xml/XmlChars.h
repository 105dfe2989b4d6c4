// What XML 1.0 can carry: the characters of text and the form of names. Every operation
// that stores a name or a value checks it here, so that no document is ever written
// that cannot be read back.
#pragma once

#include "qm/Platform/Types.h"

namespace qm::xml
{
// XML's white space, as bytes of a document.
inline bool IsXmlSpace(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Text of any node or attribute: no C0 controls other than TAB, LF and CR, no U+FFFE or
// U+FFFF, no unpaired surrogate.
bool IsValidText(wstring_view text) noexcept;
// An XML Name (element, attribute or processing-instruction target), prefixes allowed.
bool IsValidName(wstring_view name) noexcept;
// Comments may not hold "--" nor end with "-"; neither they nor processing instructions
// may hold a CR, which they cannot escape.
bool IsValidComment(wstring_view text) noexcept;
// A processing instruction's data may not hold "?>" nor a CR; its target is a name other
// than "xml".
bool IsValidProcessingInstruction(wstring_view target, wstring_view data) noexcept;
} // namespace qm::xml
