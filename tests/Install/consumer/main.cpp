// A host as small as can be: it makes the factory and prints the file the library was
// loaded from.
#include "qm/Library/LibraryItemFactory.h"
#include "qm/Module.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstdio>

int main()
{
    ComPtr<ILibraryItemFactory> factory;
    if (FAILED(CreateLibraryItemFactory(factory.GetAddressOf())))
        return 1;
    std::printf("%s\n", win32::Utf16ToUtf8(qm::ModulePath()).c_str());
    return 0;
}
