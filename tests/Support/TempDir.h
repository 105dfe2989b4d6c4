// A temporary folder of one test, removed with everything in it at the end.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace qmtest
{
class TempDir
{
public:
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "qmtest-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
        m_path = pattern;
    }
    ~TempDir()
    {
        std::error_code ec;
        // Files a test made read-only must not stop the clean-up.
        for (auto& entry : std::filesystem::recursive_directory_iterator(m_path, ec))
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ec);
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(m_path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    std::u16string U16(const std::string& name = {}) const
    {
        return (name.empty() ? m_path : m_path / name).u16string();
    }

private:
    std::filesystem::path m_path;
};
} // namespace qmtest
