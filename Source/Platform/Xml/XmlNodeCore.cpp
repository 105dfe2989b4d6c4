#include "Platform/Xml/XmlNodeCore.h"

#include "Platform/Xml/XmlDocument.h"

namespace qm::xml
{
namespace
{
XmlNodeCore* AsCore(XmlDocument* document) noexcept { return document; }
} // namespace

ULONG XmlNodeCore::Hold() noexcept
{
    XmlNodeCore* node = this;
    while (node->m_count++ == 0)
    {
        if (node->m_parent)
            node = node->m_parent;
        else if (node->m_type != NODE_DOCUMENT)
            node = AsCore(node->m_owner);
        else
            break;
    }
    return static_cast<ULONG>(m_count);
}

ULONG XmlNodeCore::Unhold() noexcept
{
    const auto result = static_cast<ULONG>(m_count - 1);
    XmlNodeCore* node = this;
    while (--node->m_count == 0)
    {
        if (node->m_parent)
        {
            node = node->m_parent;
            continue;
        }
        if (node->m_type == NODE_DOCUMENT)
        {
            DestroySubtree(node);
            break;
        }
        XmlNodeCore* document = AsCore(node->m_owner);
        DestroySubtree(node);
        node = document;
    }
    return result;
}

XmlNodeCore* XmlNodeCore::NextInTree(const XmlNodeCore* root) const noexcept
{
    if (m_firstChild)
        return m_firstChild;
    const XmlNodeCore* node = this;
    while (node != root && node != nullptr)
    {
        if (node->m_next)
            return node->m_next;
        node = node->m_parent;
    }
    return nullptr;
}

XmlNodeCore* XmlNodeCore::Root() noexcept
{
    XmlNodeCore* node = this;
    while (node->m_parent)
        node = node->m_parent;
    return node;
}

bool XmlNodeCore::IsAncestorOf(const XmlNodeCore* node) const noexcept
{
    for (const XmlNodeCore* p = node ? node->m_parent : nullptr; p; p = p->m_parent)
        if (p == this)
            return true;
    return false;
}

void XmlNodeCore::UnlinkChild(XmlNodeCore* child) noexcept
{
    if (child->m_previous)
        child->m_previous->m_next = child->m_next;
    else
        m_firstChild = child->m_next;
    if (child->m_next)
        child->m_next->m_previous = child->m_previous;
    else
        m_lastChild = child->m_previous;
    child->m_parent = nullptr;
    child->m_previous = nullptr;
    child->m_next = nullptr;
}

void XmlNodeCore::SetOwnerOfSubtree(XmlDocument* owner) noexcept
{
    for (XmlNodeCore* node = this; node; node = node->NextInTree(this))
    {
        node->m_owner = owner;
        node->OnOwnerChanged(owner);
    }
}

void XmlNodeCore::InsertChild(XmlNodeCore* child, XmlNodeCore* before) noexcept
{
    XmlDocument* previousOwner = child->m_owner;
    if (previousOwner != m_owner)
        child->SetOwnerOfSubtree(m_owner);
    LinkChild(child, before);
    if (child->m_count > 0)
    {
        // The held child now keeps this node alive instead of its former document.
        Hold();
        AsCore(previousOwner)->Unhold();
    }
}

void XmlNodeCore::RemoveChild(XmlNodeCore* child) noexcept
{
    if (child->m_type == NODE_ATTRIBUTE)
        DetachAttribute(child);
    else
        UnlinkChild(child);
    child->m_parent = nullptr;
    if (child->m_count > 0)
    {
        // A held root keeps its document alive; this node no longer needs to live for it.
        AsCore(child->m_owner)->Hold();
        Unhold();
    }
}

void XmlNodeCore::RemoveAllChildren() noexcept
{
    while (XmlNodeCore* child = m_firstChild)
    {
        RemoveChild(child);
        ReleaseIfUnheld(child);
    }
}

void XmlNodeCore::ReleaseIfUnheld(XmlNodeCore* root) noexcept
{
    if (root->m_parent == nullptr && root->m_count == 0)
        DestroySubtree(root);
}

HRESULT XmlNodeCore::CanInsert(XmlNodeCore* child, XmlNodeCore* before) const noexcept
{
    if (child == nullptr)
        return E_INVALIDARG;
    if (m_type != NODE_ELEMENT && m_type != NODE_DOCUMENT)
        return E_FAIL;
    if (child->m_type == NODE_DOCUMENT || child->m_type == NODE_ATTRIBUTE)
        return E_INVALIDARG;
    // A node without children is nobody's ancestor: new nodes skip the walk up.
    if (child == this || (child->m_firstChild && child->IsAncestorOf(this)))
        return E_INVALIDARG;
    if (before && before->m_parent != this)
        return E_INVALIDARG;
    if (m_type == NODE_DOCUMENT)
    {
        if (child->m_type == NODE_TEXT || child->m_type == NODE_CDATA_SECTION)
            return E_FAIL;
        if (child->m_type == NODE_ELEMENT)
        {
            for (XmlNodeCore* node = m_firstChild; node; node = node->m_next)
                if (node->m_type == NODE_ELEMENT && node != child)
                    return E_FAIL;
        }
    }
    return S_OK;
}

wstring XmlNodeCore::Text() const
{
    if (IsCharacterData() || m_type == NODE_PROCESSING_INSTRUCTION || m_type == NODE_ATTRIBUTE)
        return wstring(ValuePtr()->View());
    wstring text;
    for (const XmlNodeCore* node = m_firstChild; node; node = node->NextInTree(this))
        if (node->m_type == NODE_TEXT || node->m_type == NODE_CDATA_SECTION)
            text += *node->ValuePtr();
    return text;
}

XmlNodeCore* XmlNodeCore::Clone(bool deep, XmlDocument* owner) const
{
    XmlNodeCore* copyRoot = CloneSelf(owner);
    if (!deep)
        return copyRoot;
    try
    {
        // The copy of src's parent is always copyParent.
        const XmlNodeCore* source = m_firstChild;
        XmlNodeCore* copyParent = copyRoot;
        while (source)
        {
            XmlNodeCore* copy = source->CloneSelf(owner);
            copyParent->LinkChild(copy, nullptr);
            if (source->m_firstChild)
            {
                source = source->m_firstChild;
                copyParent = copy;
                continue;
            }
            while (source != this && source->m_next == nullptr)
            {
                source = source->m_parent;
                copyParent = copyParent->m_parent;
            }
            source = source == this ? nullptr : source->m_next;
        }
    }
    catch (...)
    {
        DestroySubtree(copyRoot);
        throw;
    }
    return copyRoot;
}

namespace
{
// Gives back the counts of destroyed nodes to their arenas and to the census, a run of
// nodes from one arena at a time rather than one by one.
class Reclaim
{
public:
    Reclaim(const Reclaim&) = delete;
    Reclaim& operator=(const Reclaim&) = delete;
    Reclaim() noexcept = default;
    ~Reclaim()
    {
        Flush();
        XmlNodeCore::CountMade(-m_destroyed);
    }

    void Destroyed(XmlArena* arena) noexcept
    {
        ++m_destroyed;
        if (arena == nullptr)
            return;
        if (arena != m_arena)
        {
            Flush();
            m_arena = arena;
        }
        ++m_fromArena;
    }

private:
    void Flush() noexcept
    {
        if (m_arena)
            m_arena->Release(m_fromArena);
        m_arena = nullptr;
        m_fromArena = 0;
    }

    XmlArena* m_arena = nullptr;
    long m_fromArena = 0;
    long m_destroyed = 0;
};
} // namespace

void DestroySubtree(XmlNodeCore* root) noexcept
{
    Reclaim reclaim;
    XmlNodeCore* node = root;
    for (;;)
    {
        while (node->m_firstChild)
            node = node->m_firstChild;
        XmlNodeCore* next = node->m_next;
        XmlNodeCore* parent = node->m_parent;
        const bool isRoot = node == root;
        if (!isRoot)
        {
            parent->m_firstChild = next;
            if (next)
                next->m_previous = nullptr;
            else
                parent->m_lastChild = nullptr;
        }
        XmlArena* arena = node->m_arena;
        // An arena's memory goes back with its last node; the node's own parts go now.
        if (arena)
            node->~XmlNodeCore();
        else
            delete node;
        reclaim.Destroyed(arena);
        if (isRoot)
            return;
        node = next ? next : parent;
    }
}

XmlNodeCore* CoreOf(IUnknown* node) noexcept
{
    if (node == nullptr)
        return nullptr;
    XmlNodeCore* core = nullptr;
    if (FAILED(node->QueryInterface(IID_XmlNodeCore, reinterpret_cast<void**>(&core))) || core == nullptr)
        return nullptr;
    // The caller holds the node; the reference the query added is not needed.
    core->Unhold();
    return core;
}
} // namespace qm::xml
