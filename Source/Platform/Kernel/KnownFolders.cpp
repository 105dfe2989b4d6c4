#include "Platform/Kernel/KnownFolders.h"

#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"

#include <cstdlib>
#include <string_view>

namespace qm
{
namespace
{
// The value of `key="..."` in user-dirs.dirs, with a leading $HOME replaced; empty when
// the key is missing or its value is no absolute path.
wstring UserDirectory(std::string_view text, std::string_view key, const wstring& home)
{
    std::size_t start = 0;
    while (start < text.size())
    {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        if (line.substr(0, key.size()) != key || line.substr(key.size(), 2) != "=\"")
            continue;
        line.remove_prefix(key.size() + 2);
        const std::size_t quote = line.find('"');
        if (quote == std::string_view::npos)
            return {};
        std::string_view value = line.substr(0, quote);
        wstring path;
        if (value.substr(0, 5) == "$HOME")
        {
            value.remove_prefix(5);
            if (FAILED(FromNativePath(value, path)))
                return {};
            path = home + path;
        }
        else if (FAILED(FromNativePath(value, path)))
            return {};
        return PathIsRelativeW(path) ? wstring() : PathCombineW(path, u"");
    }
    return {};
}

wstring KnownFolder(std::string_view key, const char16_t* fallback)
{
    const wstring home = Environment("HOME");
    if (home.empty())
        return {};
    wstring config = Environment("XDG_CONFIG_HOME");
    if (config.empty())
        config = PathCombineW(home, u".config");
    std::vector<std::uint8_t> bytes;
    if (SUCCEEDED(FileSystem().ReadWholeFile(PathCombineW(config, u"user-dirs.dirs"), bytes)))
    {
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        wstring folder = UserDirectory(text, key, home);
        if (!folder.empty())
            return folder;
    }
    return PathCombineW(home, fallback);
}
} // namespace

wstring Environment(const char* name)
{
    const char* value = std::getenv(name);
    wstring text;
    if (value && *value && FAILED(FromNativePath(value, text)))
        text.clear();
    return text;
}

wstring UserVideosFolder() { return KnownFolder("XDG_VIDEOS_DIR", u"Videos"); }
wstring UserDocumentsFolder() { return KnownFolder("XDG_DOCUMENTS_DIR", u"Documents"); }
} // namespace qm
