// Translated texts.
#pragma once

#include <vexil3/object.h>

namespace vexil3 {

class VEXIL_API ILocalizationSource : public IObjectNoRef {
public:
    static const _GUID ID;

    // Fills the buffer of `size` bytes with the text of a message; false when there is none.
    virtual bool getString(int messageID, char* buffer, int size) = 0;
};

// An aspect of a profile implementation; reached through `to`, never owned through it.
class VEXIL_API IProfileLocalization {
public:
    static const _GUID ID;

    // The name of the file with the script's translated texts, or null. Valid while the profile
    // lives.
    virtual const char* getLocalizationFile() = 0;

protected:
    ~IProfileLocalization() = default;
};

}  // namespace vexil3
