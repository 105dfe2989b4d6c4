#include "DataAccess/Library/CategoryTextFile.h"

#include "Logging/QMLog.h"
#include "Platform/Kernel/FileSystem.h"

#include "qm/Platform/Text/CaseFolding.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <cstring>

namespace Quillmar::Library::Native
{
namespace
{
constexpr HRESULT kShortFile = HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);

HRESULT ReadBytes(wstring_view path, std::vector<std::uint8_t>& bytes)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    qm::FileHandle file;
    QMCheckHRESULT(fileSystem.OpenRead(path, file));
    std::uint64_t fileSize = 0;
    QMCheckHRESULT(fileSystem.Size(file, fileSize));
    QMCheckCondition(fileSize > 0, E_UNEXPECTED);
    QMCheckCondition(fileSize <= kMaxKeywordFileBytes, HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE));
    bytes.resize(static_cast<std::size_t>(fileSize));
    std::size_t done = 0;
    while (done < bytes.size())
    {
        std::size_t got = 0;
        QMCheckHRESULT(fileSystem.Read(file, bytes.data() + done, bytes.size() - done, got));
        if (got == 0)
            break;
        done += got;
    }
    bytes.resize(done);
    QMCheckCondition(bytes.size() >= 4, kShortFile);
    return S_OK;
}

bool StartsWith(const std::vector<std::uint8_t>& bytes, std::initializer_list<std::uint8_t> mark)
{
    return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
}

// UTF-8 up to the first NUL; a text that is not well formed gives an empty text.
wstring FromUtf8(const std::vector<std::uint8_t>& bytes, std::size_t start)
{
    const char* data = reinterpret_cast<const char*>(bytes.data()) + start;
    const std::size_t size = bytes.size() - start;
    const void* nul = std::memchr(data, 0, size);
    wstring text;
    if (FAILED(qm::ToUtf16(std::string_view(data, nul ? static_cast<const char*>(nul) - data : size), text)))
        QMLog(2, u"The keyword file is not UTF-8 text.");
    return text;
}

wstring FromUtf16Le(const std::vector<std::uint8_t>& bytes, std::size_t start)
{
    wstring text;
    for (std::size_t i = start; i + 1 < bytes.size(); i += 2)
    {
        const char16_t c = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
        if (c == 0)
            break;
        text += c;
    }
    return text;
}

wstring_view Trim(wstring_view token)
{
    while (!token.empty() && qm::IsSpace(token.front()))
        token.remove_prefix(1);
    while (!token.empty() && qm::IsSpace(token.back()))
        token.remove_suffix(1);
    return token;
}

// Tokens up to each separator; a separator at the end of the line starts no token.
std::vector<wstring_view> Tokens(wstring_view line, char16_t separator)
{
    std::vector<wstring_view> tokens;
    while (!line.empty())
    {
        const std::size_t at = line.find(separator);
        tokens.push_back(Trim(line.substr(0, at)));
        line = at == wstring_view::npos ? wstring_view() : line.substr(at + 1);
    }
    return tokens;
}

void AppendUtf16Le(wstring_view text, std::string& out)
{
    for (const char16_t c : text)
    {
        out += static_cast<char>(c & 0xFF);
        out += static_cast<char>(c >> 8);
    }
}
} // namespace

HRESULT ReadKeywordText(wstring_view path, wstring& text)
{
    std::vector<std::uint8_t> bytes;
    QMCheckHRESULT(ReadBytes(path, bytes));
    if (StartsWith(bytes, {0xFE, 0xFF}) || StartsWith(bytes, {0xFF, 0xFE, 0x00, 0x00}) || StartsWith(bytes, {0x00, 0x00, 0xFE, 0xFF}))
        return E_FAIL;
    if (StartsWith(bytes, {0xEF, 0xBB, 0xBF}))
        text = FromUtf8(bytes, 3);
    else if (StartsWith(bytes, {0xFF, 0xFE}))
        text = FromUtf16Le(bytes, 2);
    else
        text = FromUtf8(bytes, 0);
    return S_OK;
}

HRESULT ParseKeywordText(wstring_view text, std::vector<Keyword>& keywords)
{
    const char16_t separator = text.find(u'\t') != wstring_view::npos ? u'\t' : text.find(u';') != wstring_view::npos ? u';' : 0;
    if (separator == 0)
        return E_FAIL;
    while (!text.empty())
    {
        const std::size_t end = text.find(u'\n');
        const wstring_view line = text.substr(0, end);
        text = end == wstring_view::npos ? wstring_view() : text.substr(end + 1);
        if (line.empty())
            continue;
        const std::vector<wstring_view> tokens = Tokens(line, separator);
        if (tokens.size() == 2 && !tokens[0].empty() && !tokens[1].empty())
            keywords.emplace_back(wstring(tokens[0]), wstring(tokens[1]));
    }
    return S_OK;
}

void AppendKeywordLine(const Keyword& keyword, std::string& out)
{
    AppendUtf16Le(keyword.first, out);
    AppendUtf16Le(u"\t", out);
    AppendUtf16Le(keyword.second, out);
    AppendUtf16Le(u"\r\n", out);
}
} // namespace Quillmar::Library::Native
