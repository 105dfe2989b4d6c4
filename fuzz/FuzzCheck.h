// What the fuzz targets share: a failed check that ends the run as a finding, and a
// temporary folder of the process.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <stdlib.h>

namespace qmfuzz
{
inline void Check(bool condition, const char* what)
{
    if (!condition)
    {
        std::fprintf(stderr, "check failed: %s\n", what);
        std::abort();
    }
}

class TempFolder
{
public:
    explicit TempFolder(const char* name)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / (std::string(name) + "-XXXXXX")).string();
        Check(mkdtemp(pattern.data()) != nullptr, "mkdtemp");
        m_path = pattern;
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::filesystem::path operator/(const char* name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};
} // namespace qmfuzz
