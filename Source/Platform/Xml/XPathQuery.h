// The subset of XPath that the system's queries use: child names (dots allowed), "/"
// and "//" between steps and at the start, ".", "..", "*", and predicates [@name] and
// [@name='value']. Anything else is refused when it is compiled, never guessed at.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

#include <vector>

namespace qm::xml
{
class XPathQuery
{
public:
    // E_INVALIDARG for an empty, malformed or unsupported expression.
    HRESULT Compile(wstring_view expression);
    // The matching nodes in document order, each once; firstOnly stops at the first
    // where that is cheap, and always gives at most one.
    void Select(XmlNodeCore& context, std::vector<XmlNodeCore*>& result, bool firstOnly) const;

private:
    enum class Axis
    {
        Child,
        Descendant, // descendant-or-self, then child: what "//" means
        Self,
        Parent,
    };
    struct Predicate
    {
        wstring attribute;
        bool hasValue = false;
        wstring value;
    };
    struct Step
    {
        Axis axis = Axis::Child;
        wstring name; // empty: any element ("*")
        std::vector<Predicate> predicates;
    };

    bool Matches(const Step& step, const XmlNodeCore& node) const;
    void Apply(const Step& step, const std::vector<XmlNodeCore*>& from, std::vector<XmlNodeCore*>& to,
               bool firstOnly) const;
    static void SortInDocumentOrder(std::vector<XmlNodeCore*>& nodes);

    bool m_absolute = false;
    std::vector<Step> m_steps;
};
} // namespace qm::xml
