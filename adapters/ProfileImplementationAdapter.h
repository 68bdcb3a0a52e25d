// What the profile implementations of the four kinds share.
#pragma once

#include <new>

#include <vexil3/identify.h>
#include <vexil3/profile.h>
#include <vexil3/ref.h>

#include "adapters/ErrorMapper.h"

namespace vexil3::js {

// Stands in front of the Lua language's profile implementation. `Interface` is the kind's profile
// implementation, `Wrapper` its profile callback wrapper, `Instance` the adapter of its instances,
// `Self` the adapter itself.
template <class Self, class Interface, class Wrapper, class Instance>
class ProfileImplementationAdapter : public TAddRefImpl<Interface> {
public:
    // Adopts the reference to `inner` and borrows the cache, which must outlive this.
    ProfileImplementationAdapter(Interface* inner_, FileLinesCache* linesCache_)
        : inner(inner_), linesCache(linesCache_) {}

    bool is(_GUID id) const override { return answers<Self, Interface, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<Self, Interface, IObject>(id, this, object); }

    bool init(typename Wrapper::HostCallback* callback, IError** error) override {
        // What asks the host would have nobody to ask: the Lua language refuses this itself.
        if (!callback) return inner->init(nullptr, error);
        try {
            wrapper.setProfile(callback);
        } catch (const std::bad_alloc& failure) {
            ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, failure.what());
            return false;
        }
        const ErrorMapper::NameOf nameOf = [](void* host) {
            return static_cast<typename Wrapper::HostCallback*>(host)->getObjectID();
        };
        return inner->init(&wrapper, ErrorMapper(error, linesCache, nameOf, callback));
    }

    ILanguageService::Language getLanguage() override { return ILanguageService::JavaScript; }

    typename Instance::Interface* getInstanceImplementation() override {
        const Ref<typename Instance::Interface> instance(inner->getInstanceImplementation());
        return instance ? new (std::nothrow) Instance(instance.get(), linesCache) : nullptr;
    }

protected:
    // The wrapper goes before `inner`, which was given it.
    const Ref<Interface> inner;

private:
    Wrapper wrapper;
    FileLinesCache* const linesCache;
};

}  // namespace vexil3::js
