// What the instance implementations of the four kinds share.
#pragma once

#include <vexil3/identify.h>
#include <vexil3/profile.h>
#include <vexil3/ref.h>

#include "adapters/ErrorMapper.h"

namespace vexil3::js {

// Stands in front of the Lua language's instance implementation and gives its errors JavaScript
// lines. `InstanceInterface` is the kind's interface, `InstanceCallback` what init takes, `Self` the
// adapter.
template <class Self, class InstanceInterface, class InstanceCallback>
class InstanceAdapter : public TAddRefImpl<InstanceInterface> {
public:
    using Interface = InstanceInterface;

    // Adds a reference to `inner` and borrows the cache, which must outlive this.
    InstanceAdapter(Interface* inner_, FileLinesCache* linesCache_)
        : inner(Ref<Interface>::share(inner_)), linesCache(linesCache_) {}

    bool is(_GUID id) const override { return answers<Self, Interface, IExecutable, IObject>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Self, Interface, IExecutable, IObject>(id, this, object);
    }

    bool findMember(const char* name, int* id, IExecutable::MemberType* type) override {
        return inner->findMember(name, id, type);
    }

    void invoke(int id, IExecutable::InvokeType type, IObjectNoRef* object, IExecutableArgs* args) override {
        inner->invoke(id, type, object, args);
        if (!args || args->isSucceeded()) return;
        const Ref<IError> error(args->getError());
        Ref<IError> rewritten;
        ErrorMapper::pass(rewritten.out(), error.get(), linesCache, scriptName());
        // Without memory, the error stays as it is rather than being lost.
        if (rewritten || !error) args->setError(rewritten.get());
    }

    bool isArray() override { return inner->isArray(); }

    // Borrows the callback until the instance goes.
    bool init(InstanceCallback* callback_, IError** error) override {
        callback = callback_;
        return inner->init(callback, mapped(error));
    }

protected:
    // Passed in place of `error`, rewrites what the call reports.
    ErrorMapper mapped(IError** error) noexcept {
        return ErrorMapper(
            error, linesCache, [](void* self) { return static_cast<InstanceAdapter*>(self)->scriptName(); }, this);
    }

    const Ref<Interface> inner;

private:
    const char* scriptName() const {
        IProfile* profile = callback ? callback->getProfile() : nullptr;
        return profile ? profile->getObjectID() : nullptr;
    }

    InstanceCallback* callback = nullptr;
    FileLinesCache* const linesCache;
};

}  // namespace vexil3::js
