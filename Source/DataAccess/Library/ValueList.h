// The one-line text form of the values of a category: values joined by "; ", double
// quotes doubled, and a value that holds a semicolon enclosed in double quotes.
#pragma once

#include "qm/Platform/Types.h"

#include <vector>

namespace Quillmar::Library::Native
{
// Joins the values in the text form.
wstring FormatValueList(const std::vector<wstring>& values);

// Reads the text form back. Blanks before a value are skipped and empty values dropped;
// a doubled quote outside quotes stands for one quote, and inside quotes the next quote
// ends the value.
std::vector<wstring> ParseValueList(wstring_view text);
} // namespace Quillmar::Library::Native
