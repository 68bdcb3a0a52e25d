// What the four kinds of script share: a profile describes a script, instances run it.
#pragma once

#include <vexil3/executable.h>
#include <vexil3/files.h>
#include <vexil3/host.h>
#include <vexil3/language_service.h>

namespace vexil3 {

// Texts are never null and valid until the profile changes.
class VEXIL_API IProfile : public IObjectNoRef {
public:
    static const _GUID ID;

    enum IconStatus { IconEnabled = 0, IconDisabled = 1, IconHidden = 2 };

    virtual ILanguageService::ObjectType getType() = 0;
    virtual ILanguageService::Language getLanguage() = 0;
    // The id of the file that the script was read from; errors and line tables go by it.
    virtual const char* getObjectID() = 0;
    virtual const char* getID() = 0;
    virtual const char* getName() = 0;
    virtual const char* getDescription() = 0;
    // The parameters with their declared values. [borrowed]
    virtual IParameters* getParameters() = 0;
    virtual const char* getTags() = 0;
    virtual bool isPublic() = 0;
    // [owned]: an added reference, whoever implements it.
    virtual IFileAccessor* getFileAccessor() = 0;
    virtual int activeInstances() = 0;
    virtual const char* getDomain() = 0;
    // [borrowed]
    virtual IHost* getHost() = 0;
};

// The host's side of a running instance, common to all kinds. Lives as long as the instance.
class VEXIL_API IInstanceCallback : public IObjectNoRef {
public:
    static const _GUID ID;

    // [borrowed]
    virtual IProfile* getProfile() = 0;
    virtual IHost* getHost() = 0;
    virtual IParameters* getParameters() = 0;
};

}  // namespace vexil3
