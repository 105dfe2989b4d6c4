// The repository and the query object; the factory names them in its operations.
#pragma once

#include "qm/Platform/Com/Unknown.h"

struct ILibraryRepository : IUnknown
{
};
QM_DECLARE_IID(ILibraryRepository, "{EBBC3EF0-3D74-4FE0-96A2-75746E6A740D}")

struct ILibraryItemQuery : IUnknown
{
};
QM_DECLARE_IID(ILibraryItemQuery, "{05BE0068-0B28-4288-ADB2-06C0C7F30CD8}")
