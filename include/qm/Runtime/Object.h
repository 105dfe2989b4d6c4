// The small object base of the model: the sender of events.
#pragma once

#include "qm/Platform/Types.h"

#include <memory>

class QM_API Object : public std::enable_shared_from_this<Object>
{
public:
    virtual ~Object() = default;
    virtual bool Equals(const Object* other) const = 0;
    virtual wstring ToString() const = 0;
};

// Equality is identity; the text is the name of the object's dynamic type.
class QM_API ObjectBase : public Object
{
public:
    bool Equals(const Object* other) const override { return other == this; }
    wstring ToString() const override;
};
