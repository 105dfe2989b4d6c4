// The tree and the lifetime of DOM nodes.
//
// Every node counts the references that callers hold on it plus one for each child (or
// attribute node) whose own count is above zero. So a held node keeps its ancestors
// alive, a tree's root owns every node below it, and a root that is not a document
// (a new or removed node) holds one reference on its owner document while it is held.
// A root whose count falls to zero is destroyed with its whole subtree at once. None of
// the walks here recurse, so no tree depth can exhaust the stack.
//
// A node lives in the arena of the parse that read it, or on the heap when it was made
// or copied later; either way it is destroyed at once when it dies.
#pragma once

#include "Platform/Xml/XmlArena.h"
#include "Platform/Xml/XmlString.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <atomic>
#include <new>
#include <utility>

namespace qm::xml
{
class XmlDocument;

class XmlNodeCore
{
public:
    XmlNodeCore(const XmlNodeCore&) = delete;
    XmlNodeCore& operator=(const XmlNodeCore&) = delete;

    DOMNodeType Type() const noexcept { return m_type; }
    XmlNodeCore* Parent() const noexcept { return m_parent; }
    XmlNodeCore* FirstChild() const noexcept { return m_firstChild; }
    XmlNodeCore* LastChild() const noexcept { return m_lastChild; }
    XmlNodeCore* PreviousSibling() const noexcept { return m_previous; }
    XmlNodeCore* NextSibling() const noexcept { return m_next; }
    XmlDocument* Owner() const noexcept { return m_owner; }
    bool IsCharacterData() const noexcept
    {
        return m_type == NODE_TEXT || m_type == NODE_CDATA_SECTION || m_type == NODE_COMMENT;
    }

    // The node as the DOM interface that gives its identity.
    virtual IXMLDOMNode* Interface() noexcept = 0;
    // "#text", "#document", an element's or attribute's name, a target.
    virtual wstring_view NodeName() const noexcept = 0;
    // The interfaces of the kind of node beyond IXMLDOMNode; null for others.
    virtual void* QueryTyped(REFIID) noexcept { return nullptr; }

    // Nodes alive in the process: lets tests see that a subtree is freed at once.
    static long LiveNodes() noexcept { return s_liveNodes.load(std::memory_order_relaxed); }
    // A parse counts the nodes it made in its arena once, not one by one.
    static void CountMade(long count) noexcept { s_liveNodes.fetch_add(count, std::memory_order_relaxed); }

    // Reference counting of the interfaces (see the comment at the top).
    ULONG Hold() noexcept;
    ULONG Unhold() noexcept;

    // The next node of a depth-first walk in document order below (and excluding) root's
    // siblings; null at the end.
    XmlNodeCore* NextInTree(const XmlNodeCore* root) const noexcept;
    // The topmost ancestor (the document for a node in a document's tree).
    XmlNodeCore* Root() noexcept;
    bool IsAncestorOf(const XmlNodeCore* node) const noexcept;

    // Links a parentless node as a child before `before` (null: last). The owner
    // document of the subtree becomes this node's. No checks: see CanInsert.
    void InsertChild(XmlNodeCore* child, XmlNodeCore* before) noexcept;
    // Links a new node of this node's document, held by nobody, as the last child.
    void AppendNew(XmlNodeCore* child) noexcept { LinkChild(child, nullptr); }
    // Unlinks a child (or an attribute node) from this node; it becomes a root.
    void RemoveChild(XmlNodeCore* child) noexcept;
    // S_OK when child may become a child of this node (before `before`, if given).
    HRESULT CanInsert(XmlNodeCore* child, XmlNodeCore* before) const noexcept;
    // Removes and releases every child.
    void RemoveAllChildren() noexcept;
    // Destroys a parentless node that nobody holds (a removed subtree nobody kept).
    static void ReleaseIfUnheld(XmlNodeCore* root) noexcept;

    // The value of a text, CDATA, comment, processing instruction or attribute node.
    virtual const XmlString* ValuePtr() const noexcept { return nullptr; }

    // Text of this node and its descendants, in document order.
    wstring Text() const;
    // A parentless deep or shallow copy owned by `owner`, with a count of zero.
    XmlNodeCore* Clone(bool deep, XmlDocument* owner) const;

    // Moves the owner document of this subtree.
    void SetOwnerOfSubtree(XmlDocument* owner) noexcept;
    // For an element and its attribute nodes, which are not children.
    void SetOwner(XmlDocument* owner) noexcept { m_owner = owner; }
    void SetParent(XmlNodeCore* parent) noexcept { m_parent = parent; }

protected:
    XmlNodeCore(DOMNodeType type, XmlDocument* owner) noexcept : m_type(type), m_owner(owner) {}
    virtual ~XmlNodeCore() = default;

    // A new node of kind T in the arena (which then counts it; see CountMade) or, without
    // one, on the heap. T's constructor may not throw.
    template <class T, class... Args>
    static T* Make(XmlArena* arena, Args&&... args)
    {
        void* memory = arena ? arena->Allocate(sizeof(T), alignof(T)) : ::operator new(sizeof(T));
        T* node = new (memory) T(std::forward<Args>(args)...);
        static_cast<XmlNodeCore*>(node)->m_arena = arena;
        if (arena == nullptr)
            CountMade(1);
        return node;
    }

    // A copy of this node alone, for Clone.
    virtual XmlNodeCore* CloneSelf(XmlDocument* owner) const = 0;
    // Unlinks an attribute node (elements only).
    virtual void DetachAttribute(XmlNodeCore*) noexcept {}
    // Lets an element move its attribute nodes along with it.
    virtual void OnOwnerChanged(XmlDocument*) noexcept {}

    friend void DestroySubtree(XmlNodeCore* root) noexcept;

private:
    void LinkChild(XmlNodeCore* child, XmlNodeCore* before) noexcept
    {
        child->m_parent = this;
        child->m_next = before;
        child->m_previous = before ? before->m_previous : m_lastChild;
        if (child->m_previous)
            child->m_previous->m_next = child;
        else
            m_firstChild = child;
        if (before)
            before->m_previous = child;
        else
            m_lastChild = child;
    }
    void UnlinkChild(XmlNodeCore* child) noexcept;

    static inline std::atomic<long> s_liveNodes{0};

    DOMNodeType m_type;
    LONG m_count = 0;
    XmlDocument* m_owner;
    XmlArena* m_arena = nullptr;
    XmlNodeCore* m_parent = nullptr;
    XmlNodeCore* m_firstChild = nullptr;
    XmlNodeCore* m_lastChild = nullptr;
    XmlNodeCore* m_previous = nullptr;
    XmlNodeCore* m_next = nullptr;

};

// Destroys root and everything below it, without recursion.
void DestroySubtree(XmlNodeCore* root) noexcept;

// Private identifier through which a node of this implementation gives its core.
inline constexpr IID IID_XmlNodeCore = ::qm::ParseGuid("{5C0A8E51-93D2-4F0B-A1C7-2E6B9D4F3A10}");

// The core behind a DOM interface pointer of this implementation, or null for a foreign
// node.
XmlNodeCore* CoreOf(IUnknown* node) noexcept;
} // namespace qm::xml
