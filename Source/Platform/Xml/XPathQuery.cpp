#include "Platform/Xml/XPathQuery.h"

#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlElement.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace qm::xml
{
namespace
{
bool IsNameCharacter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' ||
           c == u'-' || c == u'.' || c == u':' || c >= 0x80;
}

class Lexer
{
public:
    explicit Lexer(wstring_view text) : m_text(text) {}

    bool AtEnd() const { return m_position >= m_text.size(); }
    void SkipBlanks()
    {
        while (!AtEnd() && (m_text[m_position] == u' ' || m_text[m_position] == u'\t'))
            ++m_position;
    }
    bool Take(wstring_view token)
    {
        if (m_text.substr(m_position, token.size()) != token)
            return false;
        m_position += token.size();
        return true;
    }
    bool Peek(wstring_view token) const { return m_text.substr(m_position, token.size()) == token; }
    wstring Name()
    {
        std::size_t start = m_position;
        while (!AtEnd() && IsNameCharacter(m_text[m_position]))
            ++m_position;
        return wstring(m_text.substr(start, m_position - start));
    }
    bool Literal(wstring& value)
    {
        if (AtEnd() || (m_text[m_position] != u'\'' && m_text[m_position] != u'"'))
            return false;
        const char16_t quote = m_text[m_position++];
        const std::size_t end = m_text.find(quote, m_position);
        if (end == wstring_view::npos)
            return false;
        value = wstring(m_text.substr(m_position, end - m_position));
        m_position = end + 1;
        return true;
    }

private:
    wstring_view m_text;
    std::size_t m_position = 0;
};
} // namespace

HRESULT XPathQuery::Compile(wstring_view expression)
{
    m_steps.clear();
    m_absolute = false;
    Lexer lexer(expression);
    lexer.SkipBlanks();
    Axis axis = Axis::Child;
    if (lexer.Take(u"//"))
    {
        m_absolute = true;
        axis = Axis::Descendant;
    }
    else if (lexer.Take(u"/"))
    {
        m_absolute = true;
    }
    for (;;)
    {
        Step step;
        step.axis = axis;
        if (lexer.Take(u".."))
        {
            if (axis != Axis::Child)
                return E_INVALIDARG;
            step.axis = Axis::Parent;
        }
        else if (lexer.Take(u"."))
        {
            if (axis != Axis::Child)
                return E_INVALIDARG;
            step.axis = Axis::Self;
        }
        else if (!lexer.Take(u"*"))
        {
            step.name = lexer.Name();
            if (!IsValidName(step.name))
                return E_INVALIDARG;
        }
        // "." and ".." take no predicate in XPath 1.0: refused, never ignored.
        if ((step.axis == Axis::Self || step.axis == Axis::Parent) && lexer.Peek(u"["))
            return E_INVALIDARG;
        while (lexer.Take(u"["))
        {
            Predicate predicate;
            lexer.SkipBlanks();
            if (!lexer.Take(u"@"))
                return E_INVALIDARG;
            predicate.attribute = lexer.Name();
            if (!IsValidName(predicate.attribute))
                return E_INVALIDARG;
            lexer.SkipBlanks();
            if (lexer.Take(u"="))
            {
                lexer.SkipBlanks();
                if (!lexer.Literal(predicate.value))
                    return E_INVALIDARG;
                predicate.hasValue = true;
                lexer.SkipBlanks();
            }
            if (!lexer.Take(u"]"))
                return E_INVALIDARG;
            step.predicates.push_back(std::move(predicate));
        }
        m_steps.push_back(std::move(step));
        lexer.SkipBlanks();
        if (lexer.AtEnd())
            return S_OK;
        if (lexer.Take(u"//"))
            axis = Axis::Descendant;
        else if (lexer.Take(u"/"))
            axis = Axis::Child;
        else
            return E_INVALIDARG;
        lexer.SkipBlanks();
    }
}

bool XPathQuery::Matches(const Step& step, const XmlNodeCore& node) const
{
    if (step.axis == Axis::Self || step.axis == Axis::Parent)
        return true;
    if (node.Type() != NODE_ELEMENT)
        return false;
    const auto& element = static_cast<const XmlElement&>(node);
    if (!step.name.empty() && element.Name() != step.name)
        return false;
    for (const Predicate& predicate : step.predicates)
    {
        const XmlString* value = element.FindAttribute(predicate.attribute);
        if (value == nullptr || (predicate.hasValue && value->View() != predicate.value))
            return false;
    }
    return true;
}

void XPathQuery::Apply(const Step& step, const std::vector<XmlNodeCore*>& from, std::vector<XmlNodeCore*>& to,
                       bool firstOnly) const
{
    for (XmlNodeCore* context : from)
    {
        switch (step.axis)
        {
        case Axis::Child:
            for (XmlNodeCore* child = context->FirstChild(); child; child = child->NextSibling())
                if (Matches(step, *child))
                {
                    to.push_back(child);
                    if (firstOnly)
                        return;
                }
            break;
        case Axis::Descendant:
            for (XmlNodeCore* node = context->FirstChild(); node; node = node->NextInTree(context))
                if (Matches(step, *node))
                {
                    to.push_back(node);
                    if (firstOnly)
                        return;
                }
            break;
        case Axis::Self:
            if (Matches(step, *context))
                to.push_back(context);
            break;
        case Axis::Parent:
            // An attribute node's element is no parent in the DOM.
            if (context->Parent() && context->Type() != NODE_ATTRIBUTE && Matches(step, *context->Parent()))
                to.push_back(context->Parent());
            break;
        }
    }
}

void XPathQuery::SortInDocumentOrder(std::vector<XmlNodeCore*>& nodes)
{
    std::unordered_set<XmlNodeCore*> wanted(nodes.begin(), nodes.end());
    nodes.clear();
    // All nodes of one query lie in one tree; its walk gives document order.
    XmlNodeCore* root = (*wanted.begin())->Root();
    for (XmlNodeCore* node = root; node && nodes.size() < wanted.size(); node = node->NextInTree(root))
        if (wanted.count(node))
            nodes.push_back(node);
}

void XPathQuery::Select(XmlNodeCore& context, std::vector<XmlNodeCore*>& result, bool firstOnly) const
{
    result.clear();
    std::vector<XmlNodeCore*> current{m_absolute ? context.Root() : &context};
    std::vector<XmlNodeCore*> next;
    bool ordered = true;
    for (std::size_t i = 0; i < m_steps.size() && !current.empty(); ++i)
    {
        const bool last = i + 1 == m_steps.size();
        next.clear();
        // Stopping early is exact only while each step keeps document order.
        Apply(m_steps[i], current, next, firstOnly && last && ordered && current.size() == 1);
        if (current.size() > 1 && m_steps[i].axis != Axis::Self)
            ordered = false;
        current.swap(next);
        if (!ordered && current.size() > 1)
        {
            SortInDocumentOrder(current);
            ordered = true;
        }
    }
    if (firstOnly && current.size() > 1)
        current.resize(1);
    result.swap(current);
}
} // namespace qm::xml

