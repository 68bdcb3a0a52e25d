// What the profile callback wrappers of the four kinds share.
#pragma once

#include <vexil3/identify.h>
#include <vexil3/profile.h>
#include <vexil3/ref.h>

#include "files/JsFileAccessor.h"

namespace vexil3::js {

// Stands in front of the host's profile callback: asks it everything, but gives the Lua language a
// translating file accessor. `Callback` and `Profile` are the kind's interfaces, `Self` the wrapper.
template <class Self, class Callback, class Profile>
class ProfileCallbackAdapter : public Callback {
public:
    using HostCallback = Callback;

    // Binds the wrapper to `callback` [borrowed], in place of an earlier one, before anybody is given
    // the wrapper. Throws std::bad_alloc, and keeps the accessor that it had.
    void setProfile(Callback* callback) {
        profile = callback;
        const Ref<IFileAccessor> hosts(callback->getFileAccessor());
        fileAccessor = Ref<IFileAccessor>(hosts ? new JsFileAccessor(hosts.get()) : nullptr);
    }

    bool is(_GUID id) const override { return answers<Self, Callback, Profile, IProfile, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Self, Callback, Profile, IProfile, IObjectNoRef>(id, this, object);
    }

    ILanguageService::ObjectType getType() override { return profile->getType(); }
    ILanguageService::Language getLanguage() override { return profile->getLanguage(); }
    const char* getObjectID() override { return profile->getObjectID(); }
    const char* getID() override { return profile->getID(); }
    const char* getName() override { return profile->getName(); }
    const char* getDescription() override { return profile->getDescription(); }
    IParameters* getParameters() override { return profile->getParameters(); }
    const char* getTags() override { return profile->getTags(); }
    bool isPublic() override { return profile->isPublic(); }
    IFileAccessor* getFileAccessor() override { return Ref<IFileAccessor>::share(fileAccessor.get()).detach(); }
    int activeInstances() override { return profile->activeInstances(); }
    const char* getDomain() override { return profile->getDomain(); }
    IHost* getHost() override { return profile->getHost(); }

    void setID(const char* id) override { profile->setID(id); }
    void setName(const char* name) override { profile->setName(name); }
    void setDescription(const char* description) override { profile->setDescription(description); }
    IPermissions* getPermissions() override { return profile->getPermissions(); }

protected:
    Callback* profile = nullptr;

private:
    Ref<IFileAccessor> fileAccessor;
};

}  // namespace vexil3::js
