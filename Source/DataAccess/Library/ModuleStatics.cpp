// The module's static values, in the order they come up at load; they go down in the
// reverse order at unload, the stored service provider last.
#include "DataAccess/Library/MDExtensionFactory.h"
#include "DataAccess/Library/ModuleFrame.h"

namespace Quillmar::Library::Native
{
namespace
{
// 1. The module frame.
ModuleFrame g_moduleFrame;

// 2. The metadata extension kinds, from their one ordered table: the order of
//    registration is the order of their nodes in files.
const bool g_extensionKindsRegistered = RegisterExtensionKinds();

// 3. The XML names of keywords.
const ConstantBstr g_name(u"name");
const ConstantBstr g_category(u"CATEGORY");
const ConstantBstr g_categories(u"CATEGORIES");
} // namespace

ModuleFrame& ModuleFrame::Instance() noexcept { return g_moduleFrame; }

BSTR NameAttributeName() noexcept { return g_name.Get(); }
BSTR CategoryElementName() noexcept { return g_category.Get(); }
BSTR CategoriesElementName() noexcept { return g_categories.Get(); }
} // namespace Quillmar::Library::Native
